#include "ui/tracklist/TrackRowParts.h"

#include <QStyle>

namespace halvenor {

TrackRowParts::TrackRowParts(const QRect& row, Qt::LayoutDirection direction) {
    constexpr int inset = 8;
    constexpr int orderWidth = 25;
    constexpr int formatWidth = 92;
    constexpr int durationWidth = 48;
    constexpr int heartWidth = 36;
    constexpr int gap = 14;
    const QRect inner = row.adjusted(padding, 0, -padding, 0);
    const auto place = [&](int left, int width, int top, int height) {
        return QRectF(
            QStyle::visualRect(direction, row, QRect(left, row.top() + top, width, height)));
    };
    const int heartLeft = inner.right() + 1 - heartWidth - 2;
    const int durationLeft = heartLeft - 6 - durationWidth;
    const int formatLeft = durationLeft - gap - formatWidth;
    const int textLeft = inner.left() + inset + orderWidth + gap;
    plate = QRectF(inner).adjusted(0, 1, 0, -1);
    order = place(inner.left() + inset, orderWidth, 0, row.height());
    title = place(textLeft, formatLeft - gap - textLeft, 4, 19);
    artist = place(textLeft, formatLeft - gap - textLeft, 22, 17);
    format = place(formatLeft, formatWidth, 0, row.height());
    duration = place(durationLeft, durationWidth, 0, row.height());
    heart = place(heartLeft, heartWidth, 0, row.height());
}

}  // namespace halvenor
