#include "ui/tracklist/AlbumCoverPreview.h"

#include <QBuffer>
#include <QImageReader>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>

#include "ui/controls/CoverCache.h"
#include "ui/controls/FocusRing.h"
#include "ui/controls/IconButton.h"
#include "ui/symbols/Symbols.h"
#include "ui/theme/HalvenorTheme.h"
#include "ui/tracklist/AlbumSummary.h"

namespace halvenor {

namespace {

constexpr int closeSide = 44;

class CloseButton : public IconButton {
  public:
    explicit CloseButton(QWidget* parent)
        : IconButton(QStringLiteral("xmark.circle.fill"), 22, QStringLiteral("Close"), parent) {}

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::white);
        painter.drawEllipse(QRectF(rect()).center(), 11, 11);
        Symbols::draw(painter, symbol(), 22, QRectF(rect()).center(),
                      QColor(0, 0, 0, underMouse() ? 255 : 190));
        paintFocusRing(painter, *this, width() / 2.0);
    }
};

// From the header alone; the decoding happens elsewhere.
QSize naturalSize(const Artwork& artwork) {
    QBuffer buffer;
    buffer.setData(artwork.bytes());
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    const bool isTurned = (reader.transformation() & QImageIOHandler::TransformationRotate90) != 0;
    return isTurned ? size.transposed() : size;
}

}  // namespace

AlbumCoverPreview::AlbumCoverPreview(const Artwork& artwork, QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::FramelessWindowHint), artwork_(artwork) {
    setWindowTitle(QStringLiteral("Cover"));
    setAccessibleName(QStringLiteral("Cover"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    const QRect available = parent->screen()->availableGeometry();
    const QSize size = coverDisplaySize(naturalSize(artwork), available.size()).toSize();
    setFixedSize(size.expandedTo(QSize(closeSide, closeSide)));
    move(available.center() - rect().center());
    auto* close = new CloseButton(this);
    close->setGeometry(width() - closeSide - 4, 4, closeSide, closeSide);
    connect(close, &QAbstractButton::clicked, this, &QDialog::close);
    coverReady_ = CoverCache::shared().changed.subscribe([this](bool) { update(); });
}

void AlbumCoverPreview::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QPixmap cover =
        CoverCache::shared().find(artwork_, {size(), devicePixelRatioF(), 0, false});
    painter.fillRect(rect(), HalvenorTheme::windowBackdrop());
    painter.drawPixmap(0, 0, cover);
}

void AlbumCoverPreview::mouseReleaseEvent(QMouseEvent*) {
    close();
}

}  // namespace halvenor
