#include "ui/controls/FocusRing.h"

#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

bool hasKeyboardFocus(const QWidget& widget) {
    return widget.hasFocus() && widget.window()->testAttribute(Qt::WA_KeyboardFocusChange);
}

void paintRing(QPainter& painter, const QRectF& rect, double radius) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(HalvenorTheme::focusRing(), 1.5));
    painter.drawRoundedRect(rect.adjusted(1, 1, -1, -1), radius, radius);
    painter.restore();
}

void paintFocusRing(QPainter& painter, const QWidget& widget, double radius) {
    if (hasKeyboardFocus(widget)) {
        paintRing(painter, QRectF(widget.rect()), radius);
    }
}

}  // namespace halvenor
