#pragma once

#include <QRect>

namespace halvenor {

/// Where the pieces of a folder's row lie: for painting and for finding what was clicked. Pure.
struct FolderRowParts {
    static constexpr int rowHeight = 28;

    /// @param row the whole row
    FolderRowParts(const QRect& row, int depth, Qt::LayoutDirection direction);

    QRect plate;    ///< the background
    QRect chevron;  ///<
    QRect icon;     ///< 28 by 24: switches the mark
    QRect name;     ///< all the room there is
    QRect refresh;  ///< at the end, while the pointer is over the row
};

}  // namespace halvenor
