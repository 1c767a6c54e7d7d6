#include "model/scanner/FolderWalk.h"

#include <QSet>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <utility>

#include "base/MoveTable.h"
#include "model/scanner/DirectoryListing.h"

namespace halvenor {

namespace {

// The path with its links resolved, or as it is where that fails.
QByteArray resolvedPath(const FileUrl& url) {
    const std::unique_ptr<char, decltype(&std::free)> resolved(
        ::realpath(url.path().constData(), nullptr), &std::free);
    return resolved ? QByteArray(resolved.get()) : url.path();
}

class Walk {
  public:
    explicit Walk(const std::stop_token& token) : token_(token) {}

    bool isStopped() const { return token_.stop_requested(); }
    void markVisited(const FileUrl& url) { visited_.insert(resolvedPath(url)); }

    // `folder` or the first folder under it that holds tracks.
    std::optional<PlayableFolderSnapshot> firstPlayable(const FileUrl& folder) {
        if (isStopped()) {
            return std::nullopt;
        }
        const FileUrl url = folder.standardized();
        const QByteArray key = resolvedPath(url);
        if (visited_.contains(key)) {
            return std::nullopt;
        }
        visited_.insert(key);
        DirectorySnapshot listing = listDirectory(url, token_);
        if (!listing.tracks.isEmpty()) {
            return PlayableFolderSnapshot{FolderItem(url, true), std::move(listing)};
        }
        return firstPlayableOf(listing.folders.begin(), listing.folders.end());
    }

    std::optional<PlayableFolderSnapshot> firstPlayableOf(FolderList::const_iterator first,
                                                          FolderList::const_iterator last) {
        for (; first != last; ++first) {
            if (auto found = firstPlayable(first->url())) {
                return found;
            }
        }
        return std::nullopt;
    }

    std::optional<PlayableFolderSnapshot> firstPlayableUnder(const FileUrl& folder) {
        const FolderList children = listDirectory(folder, token_).folders;
        return firstPlayableOf(children.begin(), children.end());
    }

    // Among the later siblings of `folder`; none where its parent does not show it.
    std::optional<PlayableFolderSnapshot> firstPlayableBeside(const FileUrl& folder) {
        const FileUrl parent = folder.deletingLastPathComponent().standardized();
        const FolderList siblings = listDirectory(parent, token_).folders;
        const auto self = std::ranges::find(siblings, folder.path(), &FolderItem::id);
        return self == siblings.end() ? std::nullopt : firstPlayableOf(self + 1, siblings.end());
    }

  private:
    std::stop_token token_;
    QSet<QByteArray> visited_;
};

}  // namespace

std::optional<PlayableFolderSnapshot> nextPlayableFolder(const FileUrl& after,
                                                         const std::vector<FileUrl>& roots,
                                                         const std::stop_token& token) {
    const FileUrl start = after.standardized();
    std::vector<FileUrl> standardRoots;
    for (const FileUrl& root : roots) {
        standardRoots.push_back(root.standardized());
    }
    const auto home = std::ranges::find_if(
        standardRoots, [&](const FileUrl& root) { return inside(start.path(), root.path()); });
    if (home == standardRoots.end()) {
        return std::nullopt;
    }
    Walk walk(token);
    walk.markVisited(start);
    std::optional<PlayableFolderSnapshot> found = walk.firstPlayableUnder(start);
    for (FileUrl current = start; !found && current != *home && !walk.isStopped();
         current = current.deletingLastPathComponent().standardized()) {
        found = walk.firstPlayableBeside(current);
    }
    for (auto root = home + 1; !found && root != standardRoots.end(); ++root) {
        found = walk.firstPlayable(*root);
    }
    return walk.isStopped() ? std::nullopt : std::move(found);
}

}  // namespace halvenor
