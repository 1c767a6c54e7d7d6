#include <QPointer>
#include <QThreadPool>

#include <algorithm>
#include <utility>

#include "base/Error.h"
#include "base/MoveTable.h"
#include "model/scanner/FolderScanner.h"
#include "state/AppState.h"
#include "state/SettingsKeys.h"

namespace halvenor {

namespace {

// From `root` down to `target`, both included; empty when `target` does not lie under `root`.
FolderList chainOfFolders(const FolderItem& root, const FileUrl& target) {
    const QList<QByteArray> rootParts = root.url().standardized().pathComponents();
    const QList<QByteArray> targetParts = target.standardized().pathComponents();
    if (targetParts.first(std::min(rootParts.size(), targetParts.size())) != rootParts) {
        return {};
    }
    FolderList chain{root};
    for (qsizetype i = rootParts.size(); i < targetParts.size(); ++i) {
        chain.emplace_back(chain.back().url().appendingPathComponent(targetParts[i]), true);
    }
    return chain;
}

void toggle(Published<QSet<QByteArray>>& ids, const QByteArray& id) {
    ids.mutate([&](QSet<QByteArray>& set) {
        if (!set.remove(id)) {
            set.insert(id);
        }
    });
}

void insert(Published<QSet<QByteArray>>& ids, const QByteArray& id) {
    ids.mutate([&](QSet<QByteArray>& set) { set.insert(id); });
}

void remove(Published<QSet<QByteArray>>& ids, const QByteArray& id) {
    ids.mutate([&](QSet<QByteArray>& set) { set.remove(id); });
}

}  // namespace

FolderList AppState::children(const FolderItem& folder) const {
    const auto known = folderChildren->constFind(folder.id());
    return known != folderChildren->constEnd() ? *known : folder.children.value_or(FolderList());
}

bool AppState::isFolderExpanded(const FolderItem& folder) const {
    return expandedFolderIDs->contains(folder.id());
}

bool AppState::isFolderLoaded(const FolderItem& folder) const {
    return loadedFolderIDs->contains(folder.id());
}

bool AppState::isFolderLoading(const FolderItem& folder) const {
    return loadingFolderIDs->contains(folder.id());
}

bool AppState::isFolderMarked(const FolderItem& folder) const {
    return markedFolderIDs->contains(folder.id());
}

void AppState::toggleFolderExpanded(const FolderItem& folder) {
    toggle(expandedFolderIDs, folder.id());
}

void AppState::toggleFolderMarked(const FolderItem& folder) {
    toggle(markedFolderIDs, folder.id());
    persistMarkedFolders();
    checkRelocations();
}

void AppState::persistMarkedFolders() {
    QList<QByteArray> sorted(markedFolderIDs->begin(), markedFolderIDs->end());
    std::ranges::sort(sorted);
    settings_.setPaths(settingsKeys::markedFolderPaths, sorted);
}

bool AppState::shouldDisplayFolder(const FolderItem& folder) const {
    if (!*showMarkedFoldersOnly || isFolderMarked(folder)) {
        return true;
    }
    const QByteArray prefix = folder.id() + '/';
    return std::ranges::any_of(*markedFolderIDs,
                               [&](const QByteArray& id) { return id.startsWith(prefix); });
}

void AppState::openFolder(const FolderItem& folder) {
    metadataLoadTask_.cancel();
    selectedFolder = folder;
    openPlaylist = std::nullopt;
    playbackQueue = folderTracks->value(folder.id(), folder.tracks);
    selectedTrackIDs = QSet<QByteArray>();
    if (isFolderLoaded(folder)) {
        startMetadataEnrichment(folder.id());
    } else {
        loadDirectory(folder);
    }
}

void AppState::ensureFolderChildrenLoaded(const FolderItem& folder) {
    if (!isFolderLoaded(folder) && !isFolderLoading(folder)) {
        loadDirectory(folder);
    }
}

void AppState::loadDirectory(const FolderItem& folder) {
    if (directoryLoadTasks_.contains(folder.id())) {
        return;
    }
    insert(loadingFolderIDs, folder.id());
    const auto slot = std::make_shared<TaskSlot>();
    directoryLoadTasks_.insert(folder.id(), slot);
    slot->start([&](std::stop_token token) { return loadDirectoryTask(folder, token); });
}

Task<> AppState::loadDirectoryTask(FolderItem folder, std::stop_token token) {
    const QPointer<AppState> self(this);
    auto job = FolderScanner::shared().listDirectory(folder.url(), token);
    const DirectorySnapshot listing = co_await job;
    if (token.stop_requested() || !self) {
        co_return;
    }
    directoryLoadTasks_.remove(folder.id());
    storeListing(folder.id(), listing);
    if (*selectedFolder && (*selectedFolder)->id() == folder.id()) {
        playbackQueue = listing.tracks;
        restoreLastTrackSelectionIfNeeded();
        startMetadataEnrichment(folder.id());
    }
}

Task<> AppState::loadDirectoryForNavigation(FolderItem folder, std::stop_token token) {
    if (isFolderLoaded(folder)) {
        co_return;
    }
    directoryLoadTasks_.remove(folder.id());  // The walk takes over.
    insert(loadingFolderIDs, folder.id());
    const QPointer<AppState> self(this);
    auto job = FolderScanner::shared().listDirectory(folder.url(), token);
    const DirectorySnapshot listing = co_await job;
    if (token.stop_requested() || !self) {
        co_return;
    }
    storeListing(folder.id(), listing);
}

void AppState::storeListing(const QByteArray& folderID, const DirectorySnapshot& listing) {
    if (!listing.tracks.isEmpty()) {
        prepareToPlay();
    }
    folderChildren.mutate([&](auto& children) { children.insert(folderID, listing.folders); });
    folderTracks.mutate([&](auto& tracks) { tracks.insert(folderID, listing.tracks); });
    insert(loadedFolderIDs, folderID);
    remove(loadingFolderIDs, folderID);
}

// There is music now, so some may be played soon: the first double click must not wait for the
// decoders to be loaded.
void AppState::prepareToPlay() {
    if (std::exchange(isPreparedToPlay_, true)) {
        return;
    }
    QThreadPool::globalInstance()->start([] {
        try {
            AudioFile::prepare();
        } catch (const Error&) {
            // Opening a file will say so.
        }
    });
}

void AppState::refreshFolder(const FolderItem& folder) {
    checkRelocations();
    const QByteArray& id = folder.id();
    directoryLoadTasks_.remove(id);
    remove(loadedFolderIDs, id);
    remove(loadingFolderIDs, id);
    folderChildren.mutate([&](auto& children) { children.remove(id); });
    folderTracks.mutate([&](auto& tracks) { tracks.remove(id); });
    if (*selectedFolder && (*selectedFolder)->id() == id) {
        playbackQueue = TrackList();
    }
    loadDirectory(folder);
}

Task<> AppState::navigateToFolder(FileUrl target, FolderItem root, std::stop_token token) {
    const QPointer<AppState> self(this);
    const FolderList chain = chainOfFolders(root, target);
    if (chain.empty()) {
        co_return;
    }
    FolderItem current = root;
    for (const FolderItem& step : chain) {
        if (step.id() != current.id()) {
            const FolderList candidates = children(current);
            const auto child = std::ranges::find(candidates, step.id(), &FolderItem::id);
            if (child == candidates.end()) {
                co_return;  // A hidden or vanished folder is on the way.
            }
            current = *child;
        }
        insert(expandedFolderIDs, current.id());
        auto loading = loadDirectoryForNavigation(current, token);
        co_await loading;
        if (token.stop_requested() || !self) {
            co_return;
        }
    }
    openFolder(current);
    co_await yieldToEventLoop();
    if (!self) {
        co_return;
    }
    folderScrollRequest = FolderScrollRequest(current.id());
}

std::optional<FolderItem> AppState::deepestRootContaining(const QByteArray& path) const {
    const FolderItem* deepest = nullptr;
    for (const FolderItem& root : *rootFolders) {
        const bool isDeeper = deepest == nullptr || root.id().size() > deepest->id().size();
        if (isDeeper && inside(path, root.id())) {
            deepest = &root;
        }
    }
    return deepest != nullptr ? std::optional(*deepest) : std::nullopt;
}

void AppState::revealFolderInTree(const FolderItem& folder) {
    const auto root = deepestRootContaining(folder.url().standardized().path());
    if (!root) {
        folderScrollRequest = FolderScrollRequest(folder.id());
        return;
    }
    folderNavigationTask_.start(
        [&](std::stop_token token) { return navigateToFolder(folder.url(), *root, token); });
}

void AppState::revealPlayingTrackFolder() {
    const auto& track = *audioEngine_.currentTrack;
    if (!track) {
        return;
    }
    const FileUrl folder = track->url().deletingLastPathComponent().standardized();
    const auto root = deepestRootContaining(folder.path());
    folderNavigationTask_.start(
        [&](std::stop_token token) { return revealPlayingFolderTask(folder, root, token); });
}

Task<> AppState::revealPlayingFolderTask(FileUrl folder, std::optional<FolderItem> root,
                                         std::stop_token token) {
    showMarkedFoldersOnly = false;  // The way must not be hidden.
    if (root) {
        auto walk = navigateToFolder(folder, *root, token);
        co_await walk;
    } else {
        openFolder(FolderItem(folder, true));
    }
}

}  // namespace halvenor
