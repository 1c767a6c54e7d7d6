#include "ui/controls/PlaylistMenu.h"

#include <QMenu>

#include "state/AppState.h"
#include "ui/controls/Menus.h"

namespace halvenor {

void addPlaylistMenu(QMenu& menu, AppState& state,
                     const std::function<void(const QUuid&)>& onChosen) {
    QMenu* submenu = menu.addMenu(QStringLiteral("Add to Playlist"));
    for (const Playlist& playlist : *state.playlistManager().playlists) {
        submenu->addAction(menuText(playlist.name, *submenu),
                           [onChosen, id = playlist.id] { onChosen(id); });
    }
    submenu->setEnabled(!submenu->isEmpty());
}

}  // namespace halvenor
