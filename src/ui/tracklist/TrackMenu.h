#pragma once

#include <QList>

#include <functional>
#include <optional>

#include "model/Track.h"

class QMenu;
class QUrl;

namespace halvenor {

class AppState;

/// Fills the context menu of rows of the track list.
/// @param clicked the row that was clicked: what concerns one file concerns this one
/// @param chosen the rows that the menu acts on, in order; the clicked one among them
/// @param onShowTagInfo called to edit the tags of the clicked track, which by then is the only one
/// that is selected
void fillTrackMenu(QMenu& menu, AppState& state, const Track& clicked, const QList<Track>& chosen,
                   const std::function<void()>& onShowTagInfo);

/// What a switch of a track's place among the favourites is called: by what it would do.
QString favoriteActionLabel(bool isFavorite);

/// Opens a page in the desktop's browser, if there is one to open. Main thread.
void openInBrowser(const std::optional<QUrl>& page);

/// Takes `tracks` out of the playlist on show. The list on show follows soon.
void removeFromOpenPlaylist(AppState& state, const QList<Track>& tracks);

}  // namespace halvenor
