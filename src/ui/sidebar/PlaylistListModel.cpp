#include "ui/sidebar/PlaylistListModel.h"

#include <algorithm>

#include "ui/controls/ChangedRows.h"

namespace halvenor {

void PlaylistListModel::setPlaylists(const Playlists& playlists) {
    const auto [first, removed, added] = changedRows(
        rowCount(), static_cast<int>(playlists.size()),
        [&](int before, int after) { return playlists_[before].id == playlists[after].id; });
    if (removed > 0) {
        beginRemoveRows({}, first, first + removed - 1);
        playlists_.remove(first, removed);
        endRemoveRows();
    }
    if (added > 0) {
        beginInsertRows({}, first, first + added - 1);
        playlists_ = playlists;
        endInsertRows();
    } else {
        playlists_ = playlists;
    }
}

int PlaylistListModel::rowOf(const QUuid& id) const {
    const auto found = std::ranges::find(playlists_, id, &Playlist::id);
    return found != playlists_.end() ? static_cast<int>(found - playlists_.begin()) : -1;
}

int PlaylistListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(playlists_.size());
}

QVariant PlaylistListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= playlists_.size()) {
        return {};
    }
    return role == Qt::DisplayRole || role == Qt::AccessibleTextRole
               ? QVariant(playlists_[index.row()].name)
               : QVariant();
}

}  // namespace halvenor
