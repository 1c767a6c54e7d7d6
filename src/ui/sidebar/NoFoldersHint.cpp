#include "ui/sidebar/NoFoldersHint.h"

#include <QKeyEvent>
#include <QPainter>

#include "ui/controls/ElidedText.h"
#include "ui/controls/FocusRing.h"
#include "ui/symbols/Symbols.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

NoFoldersHint::NoFoldersHint(QWidget* parent) : QAbstractButton(parent) {
    setAttribute(Qt::WA_Hover);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(QStringLiteral("Drop music folder here or click here to browse"));
}

QRect NoFoldersHint::contentRect() const {
    constexpr QSize content(208, 136);
    return {QPoint((width() - content.width()) / 2, (height() - content.height()) * 2 / 5),
            content};
}

bool NoFoldersHint::hitButton(const QPoint& place) const {
    return contentRect().contains(place);
}

void NoFoldersHint::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), HalvenorTheme::pane(HalvenorTheme::windowSidebarSurface()));
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area(contentRect());
    const bool isHot = underMouse();
    QColor border = HalvenorTheme::hoverTint();
    border.setAlphaF(isHot ? 0.28F : 0.14F);
    QPen dashes(border, 1.2);
    dashes.setDashPattern({4, 4});
    painter.setPen(dashes);
    painter.drawRoundedRect(area.adjusted(1, 1, -1, -1), 12, 12);
    const QColor ink = isHot ? HalvenorTheme::hoverTint() : HalvenorTheme::secondaryText();
    Symbols::draw(painter, QStringLiteral("rectangle.and.hand.point.up.left"), 26,
                  QPointF(area.center().x(), area.top() + 42), ink);
    drawElided(painter, QRectF(area.left(), area.top() + 76, area.width(), 18),
               HalvenorTheme::font(12, QFont::Medium), ink,
               QStringLiteral("Drop music folder here"), Qt::AlignHCenter);
    drawElided(painter, QRectF(area.left(), area.top() + 96, area.width(), 18),
               HalvenorTheme::font(12), HalvenorTheme::inactiveText(),
               QStringLiteral("or click here to browse"), Qt::AlignHCenter);
    if (hasKeyboardFocus(*this)) {
        paintRing(painter, area, 12);
    }
}

void NoFoldersHint::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        click();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

}  // namespace halvenor
