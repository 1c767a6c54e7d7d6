#pragma once

#include <QUuid>

#include <functional>

class QMenu;

namespace halvenor {

class AppState;

/// Adds the submenu "Add to Playlist" to `menu`: an entry for each playlist. Without any it is
/// there, but disabled.
/// @param onChosen called with the id of the playlist that the user chose
void addPlaylistMenu(QMenu& menu, AppState& state,
                     const std::function<void(const QUuid&)>& onChosen);

}  // namespace halvenor
