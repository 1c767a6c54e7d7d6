#include "ui/sidebar/FolderTreeModel.h"

#include "ui/controls/ChangedRows.h"

namespace halvenor {

// A folder that opens, closes or fills is one run of rows.
void FolderTreeModel::setRows(FolderRows rows) {
    const auto [first, removed, added] =
        changedRows(rowCount(), static_cast<int>(rows.size()), [&](int before, int after) {
            return row(before).isSameRowAs(rows[static_cast<size_t>(after)]);
        });
    if (removed > 0) {
        beginRemoveRows({}, first, first + removed - 1);
        rows_.erase(rows_.begin() + first, rows_.begin() + first + removed);
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
