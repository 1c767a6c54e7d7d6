#include <QPointer>

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

void AppState::setLibraryFolders(const std::vector<FileUrl>& folders) {
    FolderList roots;
    for (const FileUrl& folder : folders) {
        roots.emplace_back(folder, true);
    }
    std::ranges::stable_sort(roots, namesInOrder);
    libraryFolders = folders;
    rootFolders = roots;
}

QList<QByteArray> AppState::libraryPaths() const {
    QList<QByteArray> paths;
    for (const FileUrl& folder : *libraryFolders) {
        paths.append(folder.standardized().path());
    }
    return paths;
}

void AppState::openFolderPicker() {
    if (!userPrompts_) {
        return;
    }
    const QPointer<AppState> self(this);
    userPrompts_->chooseFolder(QString(), [self](const std::optional<FileUrl>& chosen) {
        if (self && chosen) {
            self->openDirectory(*chosen);
        }
    });
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
    std::vector<FileUrl> folders = *libraryFolders;
    folders.push_back(item.url());
    setLibraryFolders(folders);
    expandedFolderIDs.mutate([&](auto& ids) { ids.insert(item.id()); });
    if (persist == Persist::yes) {
        persistLibraryBookmarks();
        // New, and not come back: the check must not list it a second time.
        availableLocationPaths.mutate([&](auto& paths) { paths.insert(item.id()); });
        checkRelocations();
    }
    if (select == Select::yes) {
        isScanning = false;
        openFolder(item);
    }
}

void AppState::removeFolder(const FileUrl& url) {
    const QByteArray target = url.standardized().path();
    std::vector<FileUrl> remaining = *libraryFolders;
    std::erase_if(remaining, [&](const FileUrl& f) { return f.standardized().path() == target; });
    setLibraryFolders(remaining);
    eraseIdsUnder(directoryLoadTasks_, target);
    folderChildren.mutate([&](auto& children) { eraseIdsUnder(children, target); });
    folderTracks.mutate([&](auto& tracks) { eraseIdsUnder(tracks, target); });
    for (Published<QSet<QByteArray>>* ids :
         {&loadedFolderIDs, &loadingFolderIDs, &markedFolderIDs, &expandedFolderIDs}) {
        ids->mutate([&](QSet<QByteArray>& set) { eraseIdsUnder(set, target); });
    }
    persistMarkedFolders();
    persistLibraryBookmarks();
    checkRelocations();

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
