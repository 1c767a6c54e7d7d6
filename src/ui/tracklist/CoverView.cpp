#include "ui/tracklist/CoverView.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QPainter>

#include "ui/controls/CoverCache.h"
#include "ui/controls/CoverPainting.h"
#include "ui/controls/FocusRing.h"
#include "ui/controls/IconButton.h"
#include "ui/symbols/Symbols.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {

constexpr int menuButtonSide = 32;
constexpr double cornerRadius = 8;

// There all the time, for the keyboard; to be seen under the pointer or with the focus.
class CoverMenuButton : public IconButton {
  public:
    explicit CoverMenuButton(QWidget* cover)
        : IconButton(QStringLiteral("ellipsis"), 14, QStringLiteral("Album Menu"), cover) {}

  protected:
    void paintEvent(QPaintEvent*) override {
        if (!parentWidget()->underMouse() && !hasKeyboardFocus(*this)) {
            return;
        }
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0, 0, 0, underMouse() ? 200 : 150));
        painter.drawEllipse(QRectF(rect()).adjusted(1, 1, -1, -1));
        Symbols::draw(painter, symbol(), 14, QRectF(rect()).center(), Qt::white);
        paintFocusRing(painter, *this, width() / 2.0);
    }
};

}  // namespace

CoverView::CoverView(QWidget* parent) : QWidget(parent), menuButton_(new CoverMenuButton(this)) {
    setAccessibleName(QStringLiteral("Cover"));
    resize(140, 140);
    menuButton_->setGeometry(width() - menuButtonSide - 8, height() - menuButtonSide - 8,
                             menuButtonSide, menuButtonSide);
    connect(menuButton_, &QAbstractButton::clicked, this,
            [this] { popUpMenu(menuButton_->mapToGlobal(QPoint(0, menuButton_->height() + 4))); });
    coverReady_ = CoverCache::shared().changed.subscribe([this](bool) { update(); });
}

void CoverView::setArtwork(const Artwork& artwork) {
    artwork_ = artwork;
    update();
}

void CoverView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintCover(painter, rect(), artwork_, cornerRadius, 34);
    if (underMouse()) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0, 0, 0, 60));
        painter.drawRoundedRect(rect(), cornerRadius, cornerRadius);
    }
}

void CoverView::enterEvent(QEnterEvent*) {
    update();
}

void CoverView::leaveEvent(QEvent*) {
    update();
}

void CoverView::contextMenuEvent(QContextMenuEvent* event) {
    popUpMenu(event->globalPos());
}

void CoverView::popUpMenu(const QPoint& globalPlace) {
    if (!fillMenu) {
        return;
    }
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    fillMenu(*menu);
    menu->popup(globalPlace);
}

}  // namespace halvenor
