#pragma once

#include <QList>

#include "model/Track.h"

class QMenu;

namespace halvenor {

class AppState;

/// Fills the context menu of rows of the track list.
/// @param clicked the row that was clicked: what concerns one file concerns this one
/// @param chosen the rows that the menu acts on, in order; the clicked one among them
void fillTrackMenu(QMenu& menu, AppState& state, const Track& clicked, const QList<Track>& chosen);

/// What a switch of a track's place among the favourites is called: by what it would do.
QString favoriteActionLabel(bool isFavorite);

/// Takes `tracks` out of the playlist on show. The list on show follows soon.
void removeFromOpenPlaylist(AppState& state, const QList<Track>& tracks);

}  // namespace halvenor
