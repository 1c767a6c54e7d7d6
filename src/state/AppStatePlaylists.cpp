// Playlists and favourites, as the window uses them. The lists themselves are the manager's; here
// is which of them is on show, and the rows of that one, kept in step while the user edits it.
#include <QPointer>

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "base/MoveTable.h"
#include "state/AppState.h"

namespace halvenor {

namespace {

// Those of `urls` that are not in `present`.
QList<FileUrl> without(const QSet<FileUrl>& present, const QList<FileUrl>& urls) {
    QList<FileUrl> others;
    std::ranges::copy_if(urls, std::back_inserter(others),
                         [&](const FileUrl& url) { return !present.contains(url); });
    return others;
}

QSet<FileUrl> setOf(const QList<FileUrl>& urls) {
    return {urls.cbegin(), urls.cend()};
}

QSet<FileUrl> filesOf(const TrackList& tracks) {
    QSet<FileUrl> files;
    for (const Track& track : tracks) {
        files.insert(track.url());
    }
    return files;
}

}  // namespace

void AppState::subscribeToPlaylists() {
    subscriptions_.push_back(playlistManager_.playlists.subscribeQueued([this](const Playlists&) {
        checkRelocations();
        // As they are by now: what was posted may be older.
        favoriteTrackPaths = playlistManager_.favoriteTrackPaths();
        followOpenPlaylist();
    }));
    // Whatever takes the place of a playlist ends the reading for it.
    subscriptions_.push_back(openPlaylist.subscribe([this](const std::optional<Playlist>& open) {
        if (open) {
            return;
        }
        playlistLoadTask_.cancel();
        if (*isScanning) {
            isScanning = false;
        }
    }));
}

void AppState::showPlaylist(const Playlist& playlist) {
    const std::optional shown = playlist;  // A copy: it may be part of what changes here.
    metadataLoadTask_.cancel();
    metadataLoadingFolderID = std::nullopt;
    openPlaylist = shown;
    selectedFolder = std::nullopt;
    isScanning = true;
    playbackQueue = TrackList();
    selectedTrackIDs = QSet<QByteArray>();
    startPlaylistLoad(*shown);
}

void AppState::startPlaylistLoad(const Playlist& wanted) {
    playlistLoadTask_.start(
        [&](std::stop_token token) { return playlistLoad(wanted, std::move(token)); });
}

Task<> AppState::playlistLoad(Playlist wanted, std::stop_token token) {
    const QPointer<AppState> self(this);
    auto reading = playlistManager_.resolveTracks(wanted, token);
    const TrackList tracks = co_await reading;
    if (token.stop_requested() || !self || !*openPlaylist || (*openPlaylist)->id != wanted.id) {
        co_return;
    }
    playlistLoadTask_.clear();
    updatePlaylistRows(tracks);
    isScanning = false;
}

// The open playlist's entries in order, as far as their tracks are on show or have been `read`.
void AppState::updatePlaylistRows(const TrackList& read) {
    const QList<FileUrl> urls = (*openPlaylist)->trackURLs;
    const QSet<FileUrl> wanted = setOf(urls);
    QHash<QByteArray, Track> known;
    for (const TrackList& tracks : {*playbackQueue, read}) {
        for (const Track& track : tracks) {
            const QByteArray place =
                wanted.contains(track.url())
                    ? track.id()
                    : remapped(track.url().standardized().path(), relocatedSessionPaths_);
            if (place == track.id()) {
                known.insert(place, track);
            } else if (!known.contains(place)) {
                known.insert(place, track.relocated(place));
            }
        }
    }
    TrackList rows;
    for (const FileUrl& url : urls) {
        const auto track = known.constFind(url.path());
        if (track != known.constEnd()) {
            rows.append(*track);
        }
    }
    QSet<QByteArray> selected;
    for (const QByteArray& id : *selectedTrackIDs) {
        const QByteArray place = rows.containsId(id) ? id : remapped(id, relocatedSessionPaths_);
        if (rows.containsId(place)) {
            selected.insert(place);
        }
    }
    if (rows != *playbackQueue) {
        playbackQueue = rows;
    }
    if (selected != *selectedTrackIDs) {
        selectedTrackIDs = selected;
    }
}

// After a change of the playlists: rows that are gone go, and only tracks that came are read.
void AppState::followOpenPlaylist() {
    if (!*openPlaylist) {
        return;
    }
    const Playlist before = **openPlaylist;
    const Playlists playlists = *playlistManager_.playlists;
    const auto found = std::ranges::find(playlists, before.id, &Playlist::id);
    if (found == playlists.cend()) {
        openPlaylist = std::nullopt;
        return;
    }
    if (*found == before) {
        return;
    }
    Playlist now = *found;
    openPlaylist = now;
    if (now.trackURLs == before.trackURLs) {
        return;
    }
    updatePlaylistRows({});
    const QList<FileUrl> added = without(setOf(before.trackURLs), now.trackURLs);
    if (added.isEmpty()) {
        return;
    }
    // A reading that is under way would not bring them: one for all that has no row takes over.
    now.trackURLs =
        without(filesOf(*playbackQueue), playlistLoadTask_.isOccupied() ? now.trackURLs : added);
    if (!now.trackURLs.isEmpty()) {
        startPlaylistLoad(now);
    }
}

void AppState::deletePlaylist(const QUuid& id) {
    const QUuid deleted = id;  // It may be part of what is deleted.
    playlistManager_.deletePlaylist(deleted);
    if (*openPlaylist && (*openPlaylist)->id == deleted) {
        openPlaylist = std::nullopt;
    }
}

bool AppState::isFavorite(const Track& track) const {
    return favoriteTrackPaths->contains(
        remapped(track.url().standardized().path(), relocatedSessionPaths_));
}

// What the manager holds decides: the published set follows a turn of the event loop later.
void AppState::toggleFavorite(const Track& track) {
    const Track present =
        track.relocated(remapped(track.url().standardized().path(), relocatedSessionPaths_));
    const QUuid favorites = playlistManager_.favoritesPlaylist().id;
    if (playlistManager_.favoriteTrackPaths().contains(present.id())) {
        playlistManager_.removeTrack(present, favorites);
    } else {
        playlistManager_.addTrack(present, favorites);
    }
}

void AppState::addToPlaylist(const QList<Track>& tracks, const QUuid& id) {
    playlistManager_.addTracks(tracks, id);
}

}  // namespace halvenor
