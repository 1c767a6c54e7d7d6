#include "ui/sidebar/FolderMenu.h"

#include <QMenu>

#include "platform/desktop/FileManager.h"
#include "state/AppState.h"
#include "ui/controls/PlaylistMenu.h"

namespace halvenor {

void FolderAdditions::add(const FolderItem& folder, const QUuid& playlist) {
    if (state_.isFolderLoaded(folder)) {
        finish({folder, playlist});
        return;
    }
    awaited_.push_back({folder, playlist});
    // A turn later: while a folder is listed anew it is, for a moment, neither there nor loading.
    const auto look = [this](const auto&) { finishAwaited(); };
    if (subscriptions_.empty()) {
        subscriptions_.push_back(state_.loadedFolderIDs.subscribeQueued(look));
        subscriptions_.push_back(state_.loadingFolderIDs.subscribeQueued(look));
    }
    state_.ensureFolderChildrenLoaded(folder);
}

void FolderAdditions::finish(const Addition& addition) {
    const TrackList tracks = state_.folderTracks->value(addition.folder.id());
    state_.addToPlaylist(QList<Track>(tracks.begin(), tracks.end()), addition.playlist);
}

void FolderAdditions::finishAwaited() {
    std::vector<Addition> listed;
    std::erase_if(awaited_, [&](const Addition& addition) {
        const bool isListed = state_.isFolderLoaded(addition.folder);
        if (isListed) {
            listed.push_back(addition);
        }
        return isListed || !state_.isFolderLoading(addition.folder);
    });
    if (awaited_.empty()) {
        subscriptions_.clear();
    }
    for (const Addition& addition : listed) {
        finish(addition);
    }
}

void fillFolderMenu(QMenu& menu, AppState& state, const FolderItem& folder,
                    FolderAdditions& additions) {
    addPlaylistMenu(menu, state,
                    [&additions, folder](const QUuid& id) { additions.add(folder, id); });
    menu.addAction(QStringLiteral("Show in Finder"),
                   [folder] { revealInFileManager(folder.url()); });
    menu.addAction(QStringLiteral("Refresh"), [&state, folder] { state.refreshFolder(folder); });
    QAction* relocate = menu.addAction(QStringLiteral("Choose New Location…"),
                                       [&state, folder] { state.relocateFolder(folder.url()); });
    relocate->setEnabled(!*state.isRelocating);
    if (state.isRootFolder(folder)) {
        menu.addSeparator();
        menu.addAction(QStringLiteral("Remove Folder"),
                       [&state, folder] { state.removeFolder(folder.url()); });
    }
}

}  // namespace halvenor
