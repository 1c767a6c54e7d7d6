#include "platform/bookmark/linux/KnownFolders.h"

#include <algorithm>
#include <fcntl.h>

#include "base/MoveTable.h"

namespace halvenor {

KnownFolders::KnownFolders(const std::vector<HeldLocations::Place>& locations,
                           const std::vector<std::optional<BookmarkResolution>>& found,
                           const MountTable& mounts) {
    const auto add = [&](const FileStatus& status, const QByteArray& place) {
        if (status.kind == FileStatus::Kind::folder) {
            byInode_.insert(status.inode, place);
        }
    };
    for (const auto& resolution : found) {
        if (resolution) {
            add(resolution->status, resolution->url.path());
        }
    }
    for (const HeldLocations::Place& location : locations) {
        const QByteArray place = location.movedTo.value_or(location.path);
        if (location.movedTo) {
            moved_.push_back(location);
        }
        if (mounts.isWaitingForMount(place)) {
            continue;
        }
        if (const auto status = fileStatus(FileUrl(place))) {
            add(*status, place);
        }
    }
}

void KnownFolders::follow(LostItem& item, Finder& finder) const {
    const QByteArray& path = item.front.path;
    for (const HeldLocations::Place& location : moved_) {
        if (inside(path, location.path)) {
            finder.tryAt(item, rebased(path, location.path.size(), *location.movedTo));
        }
    }
    if (const auto place = placeOfFolder(item.front.item)) {
        finder.tryAt(item, *place);
    }
    for (size_t level = 1; level <= item.back.ancestors.size() && !item.found; ++level) {
        if (const auto place = placeOfFolder(item.back.ancestors[level - 1])) {
            finder.tryAt(item, rebased(path, lengthOfAncestor(path, level), *place));
        }
    }
}

std::optional<QByteArray> KnownFolders::placeOfFolder(const ItemIdentity& identity) const {
    const auto [begin, end] = byInode_.equal_range(identity.inode);
    const auto place = std::find_if(begin, end, [&](const QByteArray& candidate) {
        return SeenItem(AT_FDCWD, candidate).isMovedFolder(identity);
    });
    return place == end ? std::nullopt : std::optional(*place);
}

}  // namespace halvenor
