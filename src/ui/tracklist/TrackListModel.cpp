#include "ui/tracklist/TrackListModel.h"

#include "ui/controls/ChangedRows.h"

namespace halvenor {

TrackListModel::Change TrackListModel::setTracks(const TrackList& tracks) {
    if (tracks.hasSameRowsAs(tracks_) || (tracks.isEmpty() && tracks_.isEmpty())) {
        tracks_ = tracks;
        return Change::records;
    }
    const auto [first, removed, added] = changedRows(
        rowCount(), static_cast<int>(tracks.size()),
        [&](int before, int after) { return tracks_[before].id() == tracks[after].id(); });
    if (removed == rowCount()) {
        resetTracks(tracks);
        return Change::list;
    }
    replaceRows(first, removed, added, tracks);
    return removed + added > 0 ? Change::rows : Change::records;
}

void TrackListModel::resetTracks(const TrackList& tracks) {
    beginResetModel();
    tracks_ = tracks;
    endResetModel();
}

void TrackListModel::replaceRows(int first, int removed, int added, const TrackList& tracks) {
    if (removed > 0) {
        beginRemoveRows({}, first, first + removed - 1);
        TrackList kept;
        for (int row = 0; row < rowCount(); ++row) {
            if (row < first || row >= first + removed) {
                kept.append(tracks_[row]);
            }
        }
        tracks_ = kept;
        endRemoveRows();
    }
    if (added > 0) {
        beginInsertRows({}, first, first + added - 1);
        tracks_ = tracks;
        endInsertRows();
    } else {
        tracks_ = tracks;
    }
}

int TrackListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(tracks_.size());
}

QVariant TrackListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= tracks_.size()) {
        return {};
    }
    const Track& track = tracks_[index.row()];
    switch (role) {
        case Qt::DisplayRole:
            return track.title();
        case Qt::AccessibleTextRole:
            return QStringLiteral("%1. %2, %3, %4%5")
                .arg(QString::number(index.row() + 1), track.title(), track.artist(),
                     track.formattedDuration(),
                     isFavorite && isFavorite(track) ? QStringLiteral(", favorite") : QString());
        default:
            return {};
    }
}

}  // namespace halvenor
