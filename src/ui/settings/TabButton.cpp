#include "ui/settings/TabButton.h"

#include <QPainter>

#include "ui/controls/ElidedText.h"
#include "ui/controls/FocusRing.h"
#include "ui/symbols/Symbols.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

TabButton::TabButton(const QString& symbol, const QString& title, QWidget* parent)
    : PaintedButton(parent), symbol_(symbol) {
    setText(title);
    setAccessibleName(title);
    setCheckable(true);
}

void TabButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area(rect());
    if (isChecked() || underMouse()) {
        QColor plate = HalvenorTheme::hoverTint();
        plate.setAlphaF(isChecked() ? 0.09F : 0.045F);
        painter.setPen(Qt::NoPen);
        painter.setBrush(plate);
        painter.drawRoundedRect(area, 8, 8);
    }
    const QColor ink =
        isChecked() ? HalvenorTheme::highlightText() : HalvenorTheme::secondaryText();
    Symbols::draw(painter, symbol_, 15, QPointF(area.center().x(), 20),
                  isChecked() ? HalvenorTheme::accent() : ink);
    drawElided(painter, QRectF(4, 34, area.width() - 8, 16),
               HalvenorTheme::font(11, isChecked() ? QFont::Medium : QFont::Normal), ink, text(),
               Qt::AlignHCenter);
    paintFocusRing(painter, *this, 8);
}

}  // namespace halvenor
