#pragma once

#include <QAbstractListModel>

#include <functional>

#include "model/TrackList.h"

namespace halvenor {

/// The tracks on show, as rows.
class TrackListModel : public QAbstractListModel {
  public:
    explicit TrackListModel(QObject* parent) : QAbstractListModel(parent) {}

    /// Takes over another state of the list. One with the same rows leaves the view as it is, which
    /// then has only to repaint what shows.
    /// @return whether the rows are others
    bool setTracks(const TrackList& tracks);
    const TrackList& tracks() const { return tracks_; }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

  private:
    TrackList tracks_;
};

}  // namespace halvenor
