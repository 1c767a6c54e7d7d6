#include "ui/controls/CoverPainting.h"

#include <QPainter>

#include "ui/controls/CoverCache.h"
#include "ui/symbols/Symbols.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

void paintCover(QPainter& painter, const QRect& area, const Artwork& artwork, double cornerRadius,
                double symbolSize) {
    const double ratio = painter.device()->devicePixelRatioF();
    const QPixmap cover =
        CoverCache::shared().find(artwork, {area.size(), ratio, cornerRadius, true});
    if (!cover.isNull()) {
        painter.drawPixmap(area.topLeft(), cover);
        return;
    }
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QColor plate = HalvenorTheme::hoverTint();
    plate.setAlphaF(0.055F);
    painter.setBrush(plate);
    painter.drawRoundedRect(QRectF(area), cornerRadius, cornerRadius);
    painter.restore();
    Symbols::draw(painter, QStringLiteral("music.note"), symbolSize, QRectF(area).center(),
                  HalvenorTheme::inactiveText());
}

}  // namespace halvenor
