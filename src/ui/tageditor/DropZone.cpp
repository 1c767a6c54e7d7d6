#include "ui/tageditor/DropZone.h"

#include <QDragEnterEvent>
#include <QFontMetricsF>
#include <QPainter>
#include <QStyle>

#include <algorithm>
#include <cmath>

#include "editing/ArtworkSource.h"
#include "ui/controls/AccessibleRole.h"
#include "ui/controls/ElidedText.h"
#include "ui/controls/Spinner.h"
#include "ui/controls/TextLabel.h"
#include "ui/symbols/Symbols.h"
#include "ui/tageditor/ArtworkView.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

using namespace std::chrono_literals;

namespace {

constexpr int leastHeight = 132;
constexpr int coverSide = 92;
constexpr int padding = 16;
constexpr double cornerRadius = 8;
constexpr int nameLines = 4;

QString dropHint() {
    return QStringLiteral("Drop album cover here");
}

QFont nameFont() {
    return HalvenorTheme::font(12);
}

}  // namespace

DropZone::DropZone(QWidget* parent)
    : QWidget(parent),
      artwork_(new ArtworkView(coverSide, 24, this)),
      name_(new TextLabel({}, nameFont(), &HalvenorTheme::titleText)),
      spinner_(new Spinner(18, this)) {
    setAcceptDrops(true);
    setMinimumHeight(leastHeight);
    setAccessibleRole(*this, QAccessible::Pane);
    setAccessibleName(dropHint());
    name_->setParent(this);
    name_->setLines(nameLines);
    spinner_->setAccessibleName(QStringLiteral("Importing"));
    spinner_->hide();
    spinnerDelay_.setSingleShot(true);
    spinnerDelay_.setInterval(150ms);
    connect(&spinnerDelay_, &QTimer::timeout, spinner_, &QWidget::show);
    setArtwork(std::nullopt, std::nullopt);
}

void DropZone::setArtwork(const std::optional<QByteArray>& bytes,
                          const std::optional<QString>& name) {
    hasArtwork_ = bytes.has_value();
    artwork_->setData(bytes);
    artwork_->setVisible(hasArtwork_);
    name_->setText(name.value_or(QString()));
    name_->setVisible(hasArtwork_ && !name_->text().isEmpty());
    name_->setToolTip(name_->text().toHtmlEscaped());
    layOut();
    update();
}

void DropZone::setImporting(bool isImporting) {
    if (isImporting) {
        spinnerDelay_.start();
    } else {
        spinnerDelay_.stop();
        spinner_->hide();
    }
}

// The image and its name are one group in the middle.
void DropZone::layOut() {
    const auto place = [this](QWidget* widget, const QRect& rect) {
        widget->setGeometry(QStyle::visualRect(layoutDirection(), this->rect(), rect));
    };
    const int room = width() - coverSide - 3 * padding;
    const auto textWidth =
        static_cast<int>(std::ceil(QFontMetricsF(nameFont()).horizontalAdvance(name_->text())));
    const int nameWidth = std::clamp(textWidth, 0, std::max(room, 0));
    const int group = coverSide + (nameWidth > 0 ? padding + nameWidth : 0);
    const int left = (width() - group) / 2;
    place(artwork_, {left, (height() - coverSide) / 2, coverSide, coverSide});
    place(name_, {left + coverSide + padding, (height() - name_->height()) / 2, nameWidth,
                  name_->height()});
    const QSize sign = spinner_->sizeHint();
    place(spinner_, {QPoint(width() - sign.width() - 12, 12), sign});
}

void DropZone::resizeEvent(QResizeEvent*) {
    layOut();
}

void DropZone::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor fill = isDropTargeted_ ? HalvenorTheme::accent() : HalvenorTheme::hoverTint();
    fill.setAlphaF(isDropTargeted_ ? 0.14F : 0.03F);
    QColor border = isDropTargeted_ ? HalvenorTheme::accent() : HalvenorTheme::hoverTint();
    border.setAlphaF(isDropTargeted_ ? 1.0F : 0.16F);
    QPen pen(border, isDropTargeted_ ? 1.5 : 1);
    if (!isDropTargeted_) {
        pen.setDashPattern({4, 4});
    }
    painter.setPen(pen);
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), cornerRadius, cornerRadius);
    if (hasArtwork_) {
        return;
    }
    const QPointF middle = QRectF(rect()).center();
    const QColor ink = isDropTargeted_ ? HalvenorTheme::accent() : HalvenorTheme::secondaryText();
    Symbols::draw(painter, QStringLiteral("photo.badge.arrow.down"), 26, middle - QPointF(0, 14),
                  ink);
    drawElided(painter, QRectF(padding, middle.y() + 14, width() - 2 * padding, 20),
               HalvenorTheme::font(12), ink, dropHint(), Qt::AlignHCenter);
}

void DropZone::dragEnterEvent(QDragEnterEvent* event) {
    if (draggedFile(*event->mimeData())) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
        setDropTargeted(true);
    }
}

void DropZone::dragLeaveEvent(QDragLeaveEvent*) {
    setDropTargeted(false);
}

void DropZone::dropEvent(QDropEvent* event) {
    setDropTargeted(false);
    if (const auto file = draggedFile(*event->mimeData())) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
        if (onDrop) {
            onDrop(*file);
        }
    }
}

void DropZone::setDropTargeted(bool isTargeted) {
    isDropTargeted_ = isTargeted;
    update();
}

}  // namespace halvenor
