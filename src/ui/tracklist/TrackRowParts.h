#pragma once

#include <QRectF>

namespace halvenor {

/// Where the columns of a track's row lie: number, title over artist, format, duration, heart. For
/// painting and for finding what was clicked. Pure.
struct TrackRowParts {
    static constexpr int rowHeight = 44;
    static constexpr int padding = 25;

    /// @param row the whole row
    TrackRowParts(const QRect& row, Qt::LayoutDirection direction);

    QRectF plate;  ///< the background
    QRectF order;
    QRectF title;
    QRectF artist;
    QRectF format;
    QRectF duration;
    QRectF heart;  ///< all that takes its clicks
};

}  // namespace halvenor
