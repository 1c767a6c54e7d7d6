#include "ui/controls/ElidedText.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QStyle>

namespace halvenor {

int textFlags(const QPainter& painter, const QString& text, Qt::Alignment alignment) {
    const Qt::Alignment visual = QStyle::visualAlignment(painter.layoutDirection(), alignment);
    const int direction =
        text.isRightToLeft() ? Qt::TextForceRightToLeft : Qt::TextForceLeftToRight;
    return static_cast<int>(visual | Qt::AlignAbsolute) | direction;
}

void drawElided(QPainter& painter, const QRectF& area, const QFont& font, const QColor& colour,
                const QString& text, Qt::Alignment alignment) {
    if (text.isEmpty() || area.width() <= 0) {
        return;
    }
    QString line = text;
    line.replace(QLatin1Char('\n'), QLatin1Char(' '));
    const QFontMetricsF metrics(font, painter.device());
    painter.setFont(font);
    painter.setPen(colour);
    painter.drawText(area,
                     textFlags(painter, line, alignment | Qt::AlignVCenter) | Qt::TextSingleLine,
                     metrics.elidedText(line, Qt::ElideRight, area.width()));
}

}  // namespace halvenor
