#pragma once

#include <QAbstractListModel>

#include "playlists/Playlist.h"

namespace halvenor {

/// The playlists as rows, called by their names. Like the tree's, an update tells of the rows that
/// came and went alone; new names and contents of the others are for the view to repaint.
class PlaylistListModel : public QAbstractListModel {
  public:
    explicit PlaylistListModel(QObject* parent) : QAbstractListModel(parent) {}

    void setPlaylists(const Playlists& playlists);
    const Playlist& playlist(int row) const { return playlists_[row]; }
    /// -1 for one that is not there.
    int rowOf(const QUuid& id) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

  private:
    Playlists playlists_;
};

}  // namespace halvenor
