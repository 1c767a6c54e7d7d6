#pragma once

#include <QAbstractListModel>

#include <functional>

#include "model/TrackList.h"

namespace halvenor {

/// The tracks on show, as rows.
class TrackListModel : public QAbstractListModel {
  public:
    explicit TrackListModel(QObject* parent) : QAbstractListModel(parent) {}

    /// Says which rows are called favourites to assistive technology; none if it is not set.
    std::function<bool(const Track&)> isFavorite;

    enum class Change {
        records,  ///< The same rows: the view has only to repaint what shows.
        rows,     ///< Some rows came or went; the view keeps its place.
        list,     ///< Another list.
    };

    /// Takes over another state of the list.
    Change setTracks(const TrackList& tracks);
    /// Takes over a list that has nothing to do with the one before, whatever its rows.
    void resetTracks(const TrackList& tracks);
    const TrackList& tracks() const { return tracks_; }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

  private:
    void replaceRows(int first, int removed, int added, const TrackList& tracks);

    TrackList tracks_;
};

}  // namespace halvenor
