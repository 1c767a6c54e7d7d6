// Keeping the library's links alive while the user moves files and folders.
//
// The silent road, checkRelocations: look where everything that is remembered is now, apply what
// has moved, and bring the records up to date. The manual road, relocateFolder: the user points at
// the new place of a folder, its contents are compared, and the user confirms. While the manual
// road is open the silent one rests. Both end in applyRelocations, the one place that knows every
// store in which a path lives.
#include <QPointer>

#include <algorithm>
#include <utility>

#include "base/FileStatus.h"
#include "state/AppState.h"
#include "state/SettingsKeys.h"

namespace halvenor {

namespace {

// What the first half of a check found: accepted moves, and the records after them.
struct FoundMoves {
    MoveTable moves;
    RelocationRecords records;
    ResolvedMoves seen;
};

// What of the library a check remembers. Plain values, shared with the state until either changes.
struct Remembered {
    Playlists playlists;
    QSet<QByteArray> markedFolders;
    QList<QByteArray> locations;
};

// The records as they should be, and which Locations are there.
struct CheckedLibrary {
    RelocationRecords records;
    QSet<QByteArray> available;
    QSet<QByteArray> missing;
};

bool isInsideAny(const QByteArray& path, const QList<QByteArray>& roots) {
    return std::ranges::any_of(roots, [&](const QByteArray& root) { return inside(path, root); });
}

// A file that was dragged out of all Locations stays lost; a Location is followed anywhere.
FoundMoves findMoves(const RelocationRecords& records, const QList<QByteArray>& locations,
                     const QSet<QByteArray>& known, BookmarkResolver& resolver,
                     std::stop_token token) {
    resolver.setLocations(locations);
    FoundMoves found;
    found.seen = resolvedMoves(records, known, resolver, token);
    for (const auto& [old, current] : found.seen.moves.asKeyValueRange()) {
        if (known.contains(old) || isInsideAny(current, locations)) {
            found.moves.insert(old, current);
        }
    }
    found.records = found.moves.isEmpty() ? records : remappedRecords(records, found.moves);
    return found;
}

QSet<QByteArray> filesOf(const Playlists& playlists) {
    QSet<QByteArray> files;
    for (const Playlist& playlist : playlists) {
        for (const FileUrl& url : playlist.trackURLs) {
            files.insert(url.standardized().path());
        }
    }
    return files;
}

// The deepest of `roots` that `path` lies in; null for none.
const QByteArray* deepestOf(const QList<QByteArray>& roots, const QByteArray& path) {
    const QByteArray* deepest = nullptr;
    for (const QByteArray& root : roots) {
        if (inside(path, root) && (!deepest || root.size() > deepest->size())) {
            deepest = &root;
        }
    }
    return deepest;
}

// The Locations, the marked folders, and every folder between a remembered file and its Location.
QSet<QByteArray> foldersOf(const Remembered& remembered, const QSet<QByteArray>& files) {
    QSet<QByteArray> folders = remembered.markedFolders;
    for (const QByteArray& location : remembered.locations) {
        folders.insert(location);
    }
    for (const QByteArray& file : files) {
        const QByteArray* const root = deepestOf(remembered.locations, file);
        FileUrl folder = FileUrl(file).deletingLastPathComponent();
        while (root && inside(folder.path(), *root) && !folders.contains(folder.path())) {
            folders.insert(folder.path());
            folder = folder.deletingLastPathComponent();
        }
    }
    return folders;
}

CheckedLibrary checkLibrary(const RelocationRecords& records, const Remembered& remembered,
                            const ResolvedMoves& seen, std::stop_token token) {
    const QSet<QByteArray> files = filesOf(remembered.playlists);
    CheckedLibrary checked;
    checked.records = prepared(records, files, foldersOf(remembered, files), seen, token);
    for (const QByteArray& location : remembered.locations) {
        const bool isThere = itemExists(FileUrl(location));
        (isThere ? checked.available : checked.missing).insert(location);
    }
    return checked;
}

}  // namespace

void AppState::checkRelocations() {
    if (*isRelocating) {
        return;  // The manual road makes a check when it closes.
    }
    if (relocationTask_.isOccupied()) {
        relocationRequested_ = true;
        return;
    }
    relocationTask_.start([this](std::stop_token token) { return relocationCheck(token); });
}

Task<> AppState::relocationCheck(std::stop_token token) {
    const QPointer<AppState> self(this);
    auto loading = relocationService_.run(
        [store = &relocationStore_](std::stop_token) { store->waitUntilLoaded(); }, token);
    co_await loading;
    if (token.stop_requested() || !self) {
        co_return;
    }
    const QList<QByteArray> locations = libraryPaths();
    QSet<QByteArray> known = originalLocationPaths_;
    known.unite(QSet<QByteArray>(locations.begin(), locations.end()));
    auto search = relocationService_.run(
        [records = relocationStore_.records(), locations, known, resolver = bookmarkResolver_](
            std::stop_token stop) { return findMoves(records, locations, known, *resolver, stop); },
        token);
    const FoundMoves found = co_await search;
    if (token.stop_requested() || !self) {
        co_return;
    }
    if (!found.moves.isEmpty()) {
        applyRelocations(found.moves, found.records);
    }

    const Remembered remembered{*playlistManager_.playlists, *markedFolderIDs, libraryPaths()};
    auto preparation = relocationService_.run(
        [records = relocationStore_.records(), remembered,
         seen = found.moves.isEmpty() ? found.seen : ResolvedMoves()](std::stop_token stop) {
            return checkLibrary(records, remembered, seen, stop);
        },
        token);
    const CheckedLibrary checked = co_await preparation;
    if (token.stop_requested() || !self) {
        co_return;
    }
    if (!relocationRequested_) {  // Otherwise it may describe a world that has changed.
        relocationStore_.install(checked.records);
    }
    noteAvailableLocations(checked.available, checked.missing);
    const QList<QByteArray> now = libraryPaths();
    originalLocationPaths_ = QSet<QByteArray>(now.begin(), now.end());
    relocationTask_.clear();
    if (std::exchange(relocationRequested_, false)) {
        checkRelocations();
    }
    finishedRelocationChecks = *finishedRelocationChecks + 1;
}

void AppState::fileWasReplaced(const FileUrl& file) {
    relocationStore_.renewBookmarks({file.standardized().path()});
    if (relocationTask_.isOccupied()) {
        relocationRequested_ = true;  // What the check is preparing does not know of the new file.
    }
}

// A volume that has come back is listed again: its root, and the open folder in it. A Location that
// was added during the check stays as it is known to be.
void AppState::noteAvailableLocations(const QSet<QByteArray>& available,
                                      const QSet<QByteArray>& missing) {
    const QSet<QByteArray> returned = available - *availableLocationPaths;
    const QList<QByteArray> locations = libraryPaths();
    const QSet<QByteArray> now = ((*availableLocationPaths | available) - missing) &
                                 QSet<QByteArray>(locations.begin(), locations.end());
    if (now != *availableLocationPaths) {
        availableLocationPaths = now;
    }
    const FolderList roots = *rootFolders;
    for (const FolderItem& root : roots) {
        if (returned.contains(root.url().standardized().path())) {
            refreshFolder(root);
        }
    }
    const auto selected = *selectedFolder;
    if (selected && !returned.contains(selected->id()) &&
        isInsideAny(selected->id(), QList<QByteArray>(returned.begin(), returned.end()))) {
        refreshFolder(*selected);
    }
}

std::vector<FileUrl> AppState::missingRelocationFolders() const {
    QList<QByteArray> presentRoots;
    for (const QByteArray& root : libraryPaths()) {
        if (itemExists(FileUrl(root))) {
            presentRoots.append(root);
        }
    }
    QSet<QByteArray> candidates = *markedFolderIDs;
    for (const RelocationRecord& record : relocationStore_.records()) {
        if (record.isDirectory) {
            candidates.insert(record.path);
        }
    }
    for (const QByteArray& file : filesOf(*playlistManager_.playlists)) {
        candidates.insert(FileUrl(file).deletingLastPathComponent().path());
    }
    candidates.removeIf([&](const QByteArray& folder) {
        const bool isBelowRoot = std::ranges::any_of(presentRoots, [&](const QByteArray& root) {
            return folder != root && inside(folder, root);
        });
        return !isBelowRoot || itemExists(FileUrl(folder));
    });
    QList<QByteArray> sorted(candidates.begin(), candidates.end());
    std::ranges::sort(sorted);
    std::vector<FileUrl> topMost;
    for (const QByteArray& folder : sorted) {
        const bool isCovered = std::ranges::any_of(
            topMost, [&](const FileUrl& above) { return inside(folder, above.path()); });
        if (!isCovered) {
            topMost.emplace_back(folder);
        }
    }
    return topMost;
}

void AppState::relocateFolder(const FileUrl& folder) {
    if (*isRelocating || !userPrompts_) {
        return;
    }
    if (relocationTask_.isOccupied()) {
        playbackErrorMessage = QStringLiteral(
            "Library links are being checked. Please try relocation again in a moment.");
        return;
    }
    isRelocating = true;
    const FileUrl old = folder.standardized();
    const QString message =
        QStringLiteral(
            "Choose the new location of “%1”. Favorites, playlists and folder marks "
            "will be restored after checking its contents.")
            .arg(displayText(old.lastPathComponent()));
    const QPointer<AppState> self(this);
    userPrompts_->chooseFolder(message, [self, old](const std::optional<FileUrl>& chosen) {
        if (self) {
            self->relocationFolderChosen(old, chosen);
        }
    });
}

// A Location may go anywhere, as itself moves; what is in one, only to where the library reaches.
void AppState::relocationFolderChosen(const FileUrl& old, const std::optional<FileUrl>& chosen) {
    const FileUrl place = chosen ? chosen->standardized() : old;
    if (place == old) {
        endRelocating();
        return;
    }
    const QList<QByteArray> locations = libraryPaths();
    if (!locations.contains(old.path()) && !isInsideAny(place.path(), locations)) {
        playbackErrorMessage =
            QStringLiteral("Add the destination to Locations before relocating a subfolder there.");
        endRelocating();
        return;
    }
    relocationTask_.start(
        [&](std::stop_token token) { return relocationValidation(old, place, token); });
}

Task<> AppState::relocationValidation(FileUrl old, FileUrl place, std::stop_token token) {
    const QPointer<AppState> self(this);
    auto validation = relocationService_.run(
        [records = relocationStore_.records(), old, place](std::stop_token stop) {
            return validate(records, old.path(), place.path(), stop);
        },
        token);
    const bool isVerified = co_await validation;
    if (token.stop_requested() || !self) {
        co_return;
    }
    if (!isVerified || !userPrompts_) {
        playbackErrorMessage = QStringLiteral(
            "The selected folder could not be verified. Its contents must match the remembered "
            "files and folders. No links were changed.");
        endRelocating();
        co_return;
    }
    UserPrompts::Confirmation question;
    question.message = QStringLiteral("Restore links to this folder?");
    question.informativeText =
        displayText(old.path()) + QStringLiteral("\n→ ") + displayText(place.path()) +
        QStringLiteral(
            "\n\nThe remembered contents match. Favorites, playlists and folder marks "
            "will use the selected folder.");
    question.acceptLabel = QStringLiteral("Restore Links");
    userPrompts_->confirm(question, [self, old, place](bool accepted) {
        if (self && accepted) {
            self->relocationTask_.start(
                [&](std::stop_token t) { return self->relocationOfFolder(old, place, t); });
        } else if (self) {
            self->endRelocating();
        }
    });
}

Task<> AppState::relocationOfFolder(FileUrl old, FileUrl place, std::stop_token token) {
    const QPointer<AppState> self(this);
    const MoveTable moves{{old.path(), place.path()}};
    auto renewal =
        relocationService_.run([records = relocationStore_.records(),
                                moves](std::stop_token) { return remappedRecords(records, moves); },
                               token);
    const RelocationRecords records = co_await renewal;
    if (token.stop_requested() || !self) {
        co_return;
    }
    applyRelocations(moves, records);
    endRelocating();
}

void AppState::endRelocating() {
    relocationTask_.clear();
    isRelocating = false;
    checkRelocations();
}

// The stores first, then the caches are dropped, and what shows and plays is loaded again last.
void AppState::applyRelocations(const MoveTable& moves, const RelocationRecords& records) {
    relocateTracks(moves);
    relocationStore_.install(records);
    relocateLibrary(moves);
    reloadAfterRelocation(moves);
}

void AppState::relocateTracks(const MoveTable& moves) {
    for (QByteArray& latest : relocatedSessionPaths_) {
        latest = remapped(latest, moves);
    }
    relocatedSessionPaths_.insert(moves);

    const auto relocated = [&](const TrackList& tracks) {
        TrackList result = tracks;
        for (qsizetype row = 0; row < tracks.size(); ++row) {
            const QByteArray path = tracks[row].url().standardized().path();
            const QByteArray now = remapped(path, moves);
            if (now != path) {
                result.replace(row, tracks[row].relocated(now));
            }
        }
        return result;
    };
    playingQueue = relocated(*playingQueue);
    playbackHistory = relocated(*playbackHistory);
    if (*openPlaylist) {
        playbackQueue = relocated(*playbackQueue);
    }
    audioEngine_.relocatePaths(moves);
}

void AppState::relocateLibrary(const MoveTable& moves) {
    const auto relocatedIds = [&](const QSet<QByteArray>& ids) {
        QSet<QByteArray> result;
        for (const QByteArray& id : ids) {
            result.insert(remapped(id, moves));
        }
        return result;
    };
    markedFolderIDs = relocatedIds(*markedFolderIDs);
    expandedFolderIDs = relocatedIds(*expandedFolderIDs);
    playlistManager_.relocatePaths(moves);
    favoriteTrackPaths = playlistManager_.favoriteTrackPaths();

    QHash<QByteArray, QByteArray> bookmarks;
    for (const auto& [path, bookmark] : std::as_const(libraryBookmarkData_).asKeyValueRange()) {
        bookmarks.insert(remapped(path, moves), bookmark);
    }
    libraryBookmarkData_ = bookmarks;
    std::vector<FileUrl> folders;
    for (const QByteArray& path : libraryPaths()) {
        const FileUrl folder(remapped(path, moves));
        if (std::ranges::find(folders, folder) == folders.end()) {
            folders.push_back(folder);
        }
    }
    setLibraryFolders(folders);
}

void AppState::reloadAfterRelocation(const MoveTable& moves) {
    directoryLoadTasks_.clear();
    folderChildren = QHash<QByteArray, FolderList>();
    folderTracks = QHash<QByteArray, TrackList>();
    loadedFolderIDs = QSet<QByteArray>();
    loadingFolderIDs = QSet<QByteArray>();
    folderSearchTask_.cancel();
    folderSearchResults = FolderList();
    preparedNextFolderTransition_.reset();
    nextFolderPreparationTask_.cancel();
    if (const auto selected = *selectedFolder) {
        openFolder(
            FolderItem(FileUrl(remapped(selected->url().standardized().path(), moves)), true));
    }
    if (const auto last = settings_.path(settingsKeys::lastTrackPath)) {
        settings_.setPath(settingsKeys::lastTrackPath, remapped(*last, moves));
    }
    persistMarkedFolders();
    persistLibraryBookmarks();
    if (!*audioEngine_.currentTrack) {
        restoreLastPlaybackSession();
    }
    for (const FolderItem& root : FolderList(*rootFolders)) {
        if (isFolderExpanded(root)) {
            loadDirectory(root);
        }
    }
    audioEngine_.setNextTrack(gaplessNextTrack());
    scheduleNextFolderPreparation();
    scheduleFolderSearch();
}

}  // namespace halvenor
