#include "ui/controls/PlayingSign.h"

#include <QPainter>

#include <array>

#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

void paintPlayingSign(QPainter& painter, const QPointF& centre, bool isPlaying) {
    constexpr double barWidth = 2.4;
    constexpr double pitch = 4;
    constexpr std::array playing = {7.0, 12.0, 9.0};
    constexpr std::array paused = {3.0, 3.0, 3.0};
    const auto& heights = isPlaying ? playing : paused;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(HalvenorTheme::accent());
    double left = centre.x() - pitch - barWidth / 2;
    for (const double height : heights) {
        painter.drawRoundedRect(QRectF(left, centre.y() + 6 - height, barWidth, height),
                                barWidth / 2, barWidth / 2);
        left += pitch;
    }
    painter.restore();
}

}  // namespace halvenor
