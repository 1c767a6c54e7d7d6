#include "ui/sidebar/FolderTreeModel.h"

#include <algorithm>
#include <iterator>

namespace halvenor {

// Everything between the first and the last difference is replaced: a folder that opens, closes or
// fills is one run of rows.
void FolderTreeModel::setRows(FolderRows rows) {
    const auto isSame = [](const FolderRow& a, const FolderRow& b) { return a.isSameRowAs(b); };
    const auto [oldHead, newHead] =
        std::mismatch(rows_.begin(), rows_.end(), rows.begin(), rows.end(), isSame);
    const auto [oldTail, newTail] =
        std::mismatch(rows_.rbegin(), std::make_reverse_iterator(oldHead), rows.rbegin(),
                      std::make_reverse_iterator(newHead), isSame);
    const auto first = static_cast<int>(oldHead - rows_.begin());
    const auto removed = static_cast<int>(oldTail.base() - oldHead);
    const auto added = static_cast<int>(newTail.base() - newHead);
    if (removed > 0) {
        beginRemoveRows({}, first, first + removed - 1);
        rows_.erase(oldHead, oldTail.base());
        endRemoveRows();
    }
    if (added > 0) {
        beginInsertRows({}, first, first + added - 1);
        rows_ = std::move(rows);
        endInsertRows();
    } else {
        rows_ = std::move(rows);
    }
}

int FolderTreeModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant FolderTreeModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) {
        return {};
    }
    const FolderRow& shown = row(index.row());
    switch (role) {
        case Qt::DisplayRole:
            return shown.folder.displayName();
        case Qt::AccessibleTextRole:
            return describe ? describe(shown) : shown.folder.displayName();
        default:
            return {};
    }
}

}  // namespace halvenor
