#include "ui/sidebar/FolderRowParts.h"

#include <QStyle>

namespace halvenor {

FolderRowParts::FolderRowParts(const QRect& row, int depth, Qt::LayoutDirection direction) {
    constexpr int edge = 10;
    constexpr int indent = 16;
    constexpr int chevronWidth = 16;
    constexpr int iconWidth = 28;
    constexpr int iconHeight = 24;
    constexpr int refreshWidth = 24;
    const int start = row.left() + edge + depth * indent;
    const int end = row.right() + 1 - edge;
    const int iconLeft = start + chevronWidth;
    const int nameLeft = iconLeft + iconWidth + 4;
    const auto place = [&](int left, int width, int height) {
        const int top = row.top() + (row.height() - height) / 2;
        return QStyle::visualRect(direction, row, QRect(left, top, width, height));
    };
    plate = place(row.left() + edge - 2, row.width() - 2 * edge + 4, row.height() - 2);
    chevron = place(start, chevronWidth, row.height());
    icon = place(iconLeft, iconWidth, iconHeight);
    refresh = place(end - refreshWidth, refreshWidth, row.height());
    name = place(nameLeft, end - refreshWidth - nameLeft, row.height());
}

}  // namespace halvenor
