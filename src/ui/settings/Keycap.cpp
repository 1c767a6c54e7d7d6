#include "ui/settings/Keycap.h"

#include <QFontMetrics>
#include <QPainter>

#include <algorithm>

#include "ui/controls/ElidedText.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {
constexpr int capHeight = 24;
constexpr int sidePadding = 9;

QFont face() {
    return HalvenorTheme::font(11, QFont::Medium);
}
}  // namespace

Keycap::Keycap(const QString& key) : QLabel(key) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize Keycap::sizeHint() const {
    const int width = QFontMetrics(face()).horizontalAdvance(text()) + 2 * sidePadding;
    return {std::max(width, capHeight + 4), capHeight};
}

void Keycap::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    QColor plate = HalvenorTheme::hoverTint();
    plate.setAlphaF(0.05F);
    painter.setBrush(plate);
    QColor edge = HalvenorTheme::hoverTint();
    edge.setAlphaF(0.16F);
    painter.setPen(edge);
    painter.drawRoundedRect(area, 5, 5);
    drawElided(painter, area, face(), HalvenorTheme::titleText(), text(), Qt::AlignHCenter);
}

}  // namespace halvenor
