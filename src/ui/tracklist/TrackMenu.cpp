#include "ui/tracklist/TrackMenu.h"

#include <QDesktopServices>
#include <QMenu>
#include <QUrl>

#include <algorithm>

#include "discogs/DiscogsService.h"
#include "platform/desktop/FileManager.h"
#include "state/AppState.h"
#include "ui/controls/PlaylistMenu.h"

namespace halvenor {

namespace {

// One label for all: they become favourites unless every one is.
void addFavoritesEntry(QMenu& menu, AppState& state, const QList<Track>& chosen) {
    const bool areFavorites =
        std::ranges::all_of(chosen, [&](const Track& track) { return state.isFavorite(track); });
    menu.addAction(favoriteActionLabel(areFavorites), [&state, chosen, areFavorites] {
        for (const Track& track : chosen) {
            if (state.isFavorite(track) == areFavorites) {
                state.toggleFavorite(track);
            }
        }
    });
}

// Out of the favourites leads an entry of its own.
bool showsOtherThanFavorites(AppState& state) {
    const auto& open = *state.openPlaylist;
    return open && (open->name != PlaylistManager::favoritesName ||
                    open->id != state.playlistManager().favoritesPlaylist().id);
}

}  // namespace

QString favoriteActionLabel(bool isFavorite) {
    return isFavorite ? QStringLiteral("Remove from Favorites")
                      : QStringLiteral("Add to Favorites");
}

void fillTrackMenu(QMenu& menu, AppState& state, const Track& clicked, const QList<Track>& chosen,
                   const std::function<void()>& onShowTagInfo) {
    addFavoritesEntry(menu, state, chosen);
    addPlaylistMenu(menu, state,
                    [&state, chosen](const QUuid& id) { state.addToPlaylist(chosen, id); });
    if (showsOtherThanFavorites(state)) {
        menu.addAction(QStringLiteral("Remove from Playlist"),
                       [&state, chosen] { removeFromOpenPlaylist(state, chosen); });
    }
    menu.addSeparator();
    menu.addAction(QStringLiteral("Show in Finder"),
                   [url = clicked.url()] { revealInFileManager(url); });
    menu.addAction(QStringLiteral("Search on Discogs"), [clicked] {
        openInBrowser(DiscogsService::shared().searchUrl(clicked.artist(), clicked.title()));
    });
    menu.addAction(QStringLiteral("Tag Information…"), [&state, clicked, onShowTagInfo] {
        state.selectedTrack = clicked;
        state.selectedTrackIDs = QSet<QByteArray>{clicked.id()};
        if (onShowTagInfo) {
            onShowTagInfo();
        }
    });
}

void openInBrowser(const std::optional<QUrl>& page) {
    if (page) {
        QDesktopServices::openUrl(*page);
    }
}

void removeFromOpenPlaylist(AppState& state, const QList<Track>& tracks) {
    if (const auto playlist = *state.openPlaylist) {
        for (const Track& track : tracks) {
            state.playlistManager().removeTrack(track, playlist->id);
        }
    }
}

}  // namespace halvenor
