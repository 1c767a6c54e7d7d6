#include <algorithm>

#include "base/Collation.h"
#include "base/MoveTable.h"
#include "state/AppState.h"
#include "state/SettingsKeys.h"

namespace halvenor {

namespace {

bool namesInOrder(const FolderItem& a, const FolderItem& b) {
    return localizedStandardCompare(a.displayName(), b.displayName()) < 0;
}

void eraseIdsUnder(QSet<QByteArray>& ids, const QByteArray& root) {
    ids.removeIf([&root](const QByteArray& id) { return inside(id, root); });
}

template <class Value>
void eraseIdsUnder(QHash<QByteArray, Value>& values, const QByteArray& root) {
    values.removeIf([&root](const typename QHash<QByteArray, Value>::iterator& entry) {
        return inside(entry.key(), root);
    });
}

}  // namespace

std::optional<FolderItem> AppState::rootFolder() const {
    return rootFolders->empty() ? std::nullopt : std::optional(rootFolders->front());
}

bool AppState::isRootFolder(const FolderItem& folder) const {
    return std::ranges::any_of(*rootFolders,
                               [&](const FolderItem& root) { return root.id() == folder.id(); });
}

void AppState::openDirectory(const FileUrl& url) {
    registerLibraryFolder(url, Persist::yes, Select::yes);
}

void AppState::registerLibraryFolder(const FileUrl& url, Persist persist, Select select) {
    const FolderItem item(url.standardized(), true);
    if (isRootFolder(item)) {
        if (select == Select::yes) {
            openFolder(item);
        }
        return;
    }
    libraryFolders.mutate([&](auto& folders) { folders.push_back(item.url()); });
    rootFolders.mutate([&](FolderList& roots) {
        roots.push_back(item);
        std::ranges::stable_sort(roots, namesInOrder);
    });
    expandedFolderIDs.mutate([&](auto& ids) { ids.insert(item.id()); });
    if (persist == Persist::yes) {
        persistLibraryPaths();
    }
    if (select == Select::yes) {
        openFolder(item);
    }
}

void AppState::persistLibraryPaths() {
    QList<QByteArray> paths;
    for (const FileUrl& folder : *libraryFolders) {
        paths.append(folder.standardized().path());
    }
    settings_.setPaths(settingsKeys::libraryFolderPaths, paths);
}

// A stored path stays a Location even if nothing exists there now: its disk may be away.
void AppState::restoreLibraryFolders() {
    for (const QByteArray& path :
         settings_.paths(settingsKeys::libraryFolderPaths).value_or(QList<QByteArray>())) {
        registerLibraryFolder(FileUrl(path), Persist::no, Select::no);
    }
    if (const auto first = rootFolder()) {
        openFolder(*first);
    }
}

void AppState::removeFolder(const FileUrl& url) {
    const QByteArray target = url.standardized().path();
    libraryFolders.mutate([&](auto& folders) {
        std::erase_if(folders, [&](const FileUrl& f) { return f.standardized().path() == target; });
    });
    rootFolders.mutate([&](FolderList& roots) {
        std::erase_if(roots, [&](const FolderItem& root) {
            return root.url().standardized().path() == target;
        });
    });
    eraseIdsUnder(directoryLoadTasks_, target);
    folderChildren.mutate([&](auto& children) { eraseIdsUnder(children, target); });
    folderTracks.mutate([&](auto& tracks) { eraseIdsUnder(tracks, target); });
    for (Published<QSet<QByteArray>>* ids :
         {&loadedFolderIDs, &loadingFolderIDs, &markedFolderIDs, &expandedFolderIDs}) {
        ids->mutate([&](QSet<QByteArray>& set) { eraseIdsUnder(set, target); });
    }
    persistMarkedFolders();
    persistLibraryPaths();

    if (*selectedFolder && inside((*selectedFolder)->id(), target)) {
        metadataLoadTask_.cancel();
        metadataLoadingFolderID = std::nullopt;
        selectedFolder = std::nullopt;
        playbackQueue = TrackList();
        selectedTrackIDs = QSet<QByteArray>();
        if (const auto first = rootFolder()) {
            openFolder(*first);
        }
    }
}

}  // namespace halvenor
