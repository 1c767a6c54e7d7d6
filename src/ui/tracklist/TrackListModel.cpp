#include "ui/tracklist/TrackListModel.h"

namespace halvenor {

bool TrackListModel::setTracks(const TrackList& tracks) {
    if (tracks.hasSameRowsAs(tracks_) || (tracks.isEmpty() && tracks_.isEmpty())) {
        tracks_ = tracks;
        return false;
    }
    beginResetModel();
    tracks_ = tracks;
    endResetModel();
    return true;
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
            return QStringLiteral("%1. %2, %3, %4")
                .arg(QString::number(index.row() + 1), track.title(), track.artist(),
                     track.formattedDuration());
        default:
            return {};
    }
}

}  // namespace halvenor
