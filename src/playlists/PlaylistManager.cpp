#include "playlists/PlaylistManager.h"

#include <algorithm>
#include <deque>
#include <filesystem>
#include <system_error>
#include <utility>

#include "base/AtomicFile.h"
#include "base/Error.h"
#include "base/FileStatus.h"
#include "playlists/M3U.h"
#include "tags/TagService.h"

namespace halvenor {

namespace {

constexpr int64_t longestM3U = 64 << 20;  // bytes; what is longer was picked by mistake

constexpr qsizetype batchSize = 32;  // tracks whose tags are read in one job
constexpr size_t batchesAhead = 6;   // jobs that keep the reading threads at work

// Null when there is none. Takes the list's own copy of its rows.
Playlist* withId(Playlists& playlists, const QUuid& id) {
    const auto found = std::ranges::find(playlists, id, &Playlist::id);
    return found != playlists.end() ? &*found : nullptr;
}

const Playlist* favoritesIn(const Playlists& playlists) {
    const auto found =
        std::ranges::find(playlists, PlaylistManager::favoritesName, &Playlist::name);
    return found != playlists.end() ? &*found : nullptr;
}

QList<FileUrl> relocated(const QList<FileUrl>& urls, const MoveTable& moves) {
    QList<FileUrl> kept;
    QSet<QByteArray> seen;
    for (const FileUrl& url : urls) {
        const QByteArray path = remapped(url.standardized().path(), moves);
        if (!seen.contains(path)) {
            seen.insert(path);
            kept.append(FileUrl(path));
        }
    }
    return kept;
}

// A path that is not absolute would mean nothing to the next run, and spoil the whole file for it.
QList<FileUrl> placesOf(const QList<Track>& tracks) {
    QList<FileUrl> places;
    for (const Track& track : tracks) {
        if (track.url().path().startsWith('/')) {
            places.append(track.url());
        }
    }
    return places;
}

// The root when the folder is gone: nothing that is relative to it can exist.
FileUrl workingFolder() {
    std::error_code error;
    const auto folder = std::filesystem::current_path(error);
    return FileUrl(error ? QByteArray("/") : QByteArray::fromStdString(folder.native()));
}

QList<FileUrl> filesListedIn(const FileUrl& m3u) {
    const auto status = fileStatus(m3u);
    if (status && status->size > longestM3U) {
        throw Error(ErrorKind::format, QStringLiteral("The file is too large to be a playlist."));
    }
    return filesFromM3U(readFile(m3u), workingFolder());
}

QList<FileUrl> existing(const QList<FileUrl>& urls, const std::stop_token& token) {
    QList<FileUrl> found;
    for (const FileUrl& url : urls) {
        if (token.stop_requested()) {
            throw Cancelled();
        }
        if (itemExists(url)) {
            found.append(url);
        }
    }
    return found;
}

// The tags of files that exist, a few batches ahead of where they are awaited.
Task<TrackList> readTracks(QList<FileUrl> urls, std::stop_token token) {
    std::deque<Job<QList<Track>>> ahead;
    qsizetype requested = 0;
    TrackList tracks;
    while (tracks.size() < urls.size()) {
        for (; ahead.size() < batchesAhead && requested < urls.size(); requested += batchSize) {
            ahead.push_back(
                TagService::shared().readMetadata(urls.mid(requested, batchSize), token));
        }
        auto job = ahead.front();
        ahead.pop_front();
        const QList<Track> batch = co_await job;
        for (const Track& track : batch) {
            tracks.append(track);
        }
    }
    co_return tracks;
}

}  // namespace

const QString PlaylistManager::favoritesName = QStringLiteral("Favorites");

PlaylistManager::PlaylistManager(const FileUrl& storageURL) : file_(storageURL) {
    file_.read([this](const QByteArray& json) { playlists = decodedPlaylists(json); });
}

// What changes nothing is neither told nor written.
void PlaylistManager::publish(Playlists changed) {
    if (changed == *playlists) {
        return;
    }
    playlists = std::move(changed);
    file_.save([all = *playlists] { return encodedPlaylists(all); });
}

Playlist PlaylistManager::append(const QString& name, const QList<FileUrl>& urls) {
    Playlist made{QUuid::createUuid(), name, urls};
    publish(*playlists + Playlists{made});
    return made;
}

Playlist PlaylistManager::createPlaylist(const QString& name, const QList<Track>& tracks) {
    return append(name, placesOf(tracks));
}

void PlaylistManager::deletePlaylist(const QUuid& id) {
    Playlists changed = *playlists;
    changed.removeIf([&](const Playlist& playlist) { return playlist.id == id; });
    publish(std::move(changed));
}

void PlaylistManager::rename(const QUuid& id, const QString& name) {
    Playlists changed = *playlists;
    Playlist* const playlist = withId(changed, id);
    const QString trimmed = name.trimmed();
    if (playlist != nullptr && !trimmed.isEmpty()) {
        playlist->name = trimmed;
        publish(std::move(changed));
    }
}

void PlaylistManager::addTrack(const Track& track, const QUuid& id) {
    addTracks({track}, id);
}

void PlaylistManager::addTracks(const QList<Track>& tracks, const QUuid& id) {
    Playlists changed = *playlists;
    Playlist* const playlist = withId(changed, id);
    if (playlist == nullptr) {
        return;
    }
    QSet<FileUrl> present(playlist->trackURLs.cbegin(), playlist->trackURLs.cend());
    for (const FileUrl& url : placesOf(tracks)) {
        if (!present.contains(url)) {
            present.insert(url);
            playlist->trackURLs.append(url);
        }
    }
    publish(std::move(changed));
}

void PlaylistManager::removeTrack(const Track& track, const QUuid& id) {
    Playlists changed = *playlists;
    if (Playlist* const playlist = withId(changed, id)) {
        const FileUrl place = track.url().standardized();
        playlist->trackURLs.removeIf(
            [&](const FileUrl& url) { return url.standardized() == place; });
        publish(std::move(changed));
    }
}

Playlist PlaylistManager::favoritesPlaylist() {
    const Playlist* const favorites = favoritesIn(*playlists);
    return favorites != nullptr ? *favorites : append(favoritesName, {});
}

QSet<QByteArray> PlaylistManager::favoriteTrackPaths() const {
    QSet<QByteArray> paths;
    if (const Playlist* const favorites = favoritesIn(*playlists)) {
        for (const FileUrl& url : favorites->trackURLs) {
            paths.insert(url.standardized().path());
        }
    }
    return paths;
}

void PlaylistManager::relocatePaths(const MoveTable& moves) {
    Playlists changed = *playlists;
    for (Playlist& playlist : changed) {
        playlist.trackURLs = relocated(playlist.trackURLs, moves);
    }
    publish(std::move(changed));
}

Task<Playlist> PlaylistManager::importM3U(FileUrl url) {
    const std::stop_token isEnding = ending_.get_token();
    auto reading =
        transfers_.run([url](const std::stop_token& /*stop*/) { return filesListedIn(url); });
    const QList<FileUrl> files = co_await reading;
    if (isEnding.stop_requested()) {
        throw Cancelled();
    }
    co_return append(displayText(url.deletingPathExtension().lastPathComponent()), files);
}

// After the wait nothing of this object is used: it may be gone.
Task<> PlaylistManager::exportToM3U(Playlist playlist, FileUrl destination) {
    auto writing = transfers_.run([playlist, destination](const std::stop_token& /*stop*/) {
        constexpr unsigned readableByAll = 0644;
        writeFileAtomically(destination, m3uFromFiles(playlist.trackURLs), readableByAll);
    });
    co_await writing;
}

// After the first wait nothing of this object is used: it may be gone.
Task<TrackList> PlaylistManager::resolveTracks(Playlist playlist, std::stop_token token) {
    try {
        const QList<FileUrl> urls = playlist.trackURLs;
        auto lookup = lookups_.run(
            [urls](const std::stop_token& stop) { return existing(urls, stop); }, token);
        const QList<FileUrl> found = co_await lookup;
        auto reading = readTracks(found, token);
        TrackList tracks = co_await reading;
        co_return tracks;
    } catch (const Cancelled&) {
        co_return TrackList();
    }
}

}  // namespace halvenor
