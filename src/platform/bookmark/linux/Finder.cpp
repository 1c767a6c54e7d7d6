#include "platform/bookmark/linux/Finder.h"

#include <algorithm>
#include <fcntl.h>

#include "base/MoveTable.h"

namespace halvenor {

Finder::Finder(const MountTable& mounts, const std::vector<HeldLocations::Place>& locations)
    : mounts_(mounts) {
    for (const HeldLocations::Place& location : locations) {
        locations_.append(location.path);
        roots_.append(location.path);
        if (location.movedTo) {
            roots_.append(*location.movedTo);
        }
    }
}

bool Finder::isInRoots(const QByteArray& path) const {
    return std::ranges::any_of(roots_, [&](const QByteArray& root) { return inside(path, root); });
}

bool Finder::addIfLocation(const QByteArray& from, const QByteArray& to) {
    if (!locations_.contains(from) || roots_.contains(to)) {
        return false;
    }
    roots_.append(to);
    return true;
}

void Finder::tryAt(LostItem& item, const QByteArray& path) {
    if (item.found || mounts_.isWaitingForMount(path)) {
        return;
    }
    SeenItem seen(AT_FDCWD, path);
    if (seen.isStill(item.front.kind, item.front.item)) {
        take(item, path, seen);
    }
}

void Finder::take(LostItem& item, const QByteArray& path, const SeenItem& seen) {
    const BookmarkResolution resolution{FileUrl(path), true, seen.status()};
    const bool isAllowedHere = isAllowed(item, path);
    // A folder has but one place; its links are its sub-folders.
    const bool mayBeBetter = isInTrash(resolution.url) && seen.linkCount() > 1 &&
                             seen.status().kind != FileStatus::Kind::folder;
    if (isAllowedHere && !mayBeBetter) {
        item.found = resolution;
        addIfLocation(item.front.path, path);
    } else if (isAllowedHere || !item.second) {
        item.second = resolution;
    }
}

void Finder::settle(LostItem& item) const {
    if (!item.found && item.second && isAllowed(item, item.second->url.path())) {
        item.found = item.second;
    }
}

bool Finder::isAllowed(const LostItem& item, const QByteArray& path) const {
    return item.scope == BookmarkScope::fileSystem || isInRoots(path);
}

}  // namespace halvenor
