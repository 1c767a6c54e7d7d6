#include "platform/bookmark/linux/Surroundings.h"

#include <fcntl.h>

namespace halvenor {

void Surroundings::explore(LostItem& item) {
    const QByteArray& path = item.front.path;
    item.lostLevels = lostLevels(item);
    item.nearest = nearestFolder(path);
    const FileStatus& nearest = at(item.nearest).status();
    if (item.lostLevels < item.back.ancestors.size()) {
        // One is there still, which proves the file system where its number can't.
        const QByteArray survivor = path.left(lengthOfAncestor(path, item.lostLevels + 1));
        item.device = at(survivor).status().device;
        if (nearest.device != item.device) {
            item.nearest = survivor;
        }
    } else if (fileSystemOf(item.nearest) == item.back.fileSystem) {
        item.device = nearest.device;
    } else {
        exploreElsewhere(item);
    }
}

void Surroundings::exploreElsewhere(LostItem& item) {
    for (const Mounted& mounted : placesOf(item.back.fileSystem)) {
        if (item.back.topLength > 0) {
            finder_.tryAt(item, rebased(item.front.path, item.back.topLength, mounted.place));
        }
        if (!item.device) {
            item.device = mounted.device;
            item.nearest = mounted.place;
        }
    }
}

size_t Surroundings::lostLevels(const LostItem& item) {
    const QByteArray& path = item.front.path;
    size_t lost = 0;
    for (const ItemIdentity& ancestor : item.back.ancestors) {
        SeenItem& seen = at(path.left(lengthOfAncestor(path, lost + 1)));
        if (seen.isStill(FileStatus::Kind::folder, ancestor)) {
            break;
        }
        ++lost;
    }
    return lost;
}

QByteArray Surroundings::nearestFolder(const QByteArray& path) {
    QByteArray folder = path;
    do {
        folder.truncate(lengthOfAncestor(folder, 1));
    } while (folder.size() > 1 &&
             !(at(folder).exists() && at(folder).status().kind == FileStatus::Kind::folder));
    return folder.isEmpty() ? QByteArray("/") : folder;
}

SeenItem& Surroundings::at(const QByteArray& path) {
    auto seen = seen_.find(path);
    if (seen == seen_.end()) {
        seen = seen_.insert(path, SeenItem(AT_FDCWD, path));
    }
    return *seen;
}

std::optional<uint64_t> Surroundings::fileSystemOf(const QByteArray& folder) {
    const uint64_t device = at(folder).status().device;
    auto known = fileSystems_.find(device);
    if (known == fileSystems_.end()) {
        const auto facts = fileSystemAt(folder);
        known = fileSystems_.insert(device, facts ? std::optional(facts->id) : std::nullopt);
    }
    return *known;
}

const QList<Surroundings::Mounted>& Surroundings::placesOf(uint64_t fileSystem) {
    auto known = mounted_.find(fileSystem);
    if (known == mounted_.end()) {
        QList<Mounted> places;
        for (const QByteArray& place : finder_.mounts().placesOf(fileSystem)) {
            if (const auto status = fileStatus(FileUrl(place))) {
                places.append({place, status->device});
            }
        }
        known = mounted_.insert(fileSystem, places);
    }
    return *known;
}

bool isBareMountPoint(const LostItem& item, const FileStatus& status) {
    const auto above = fileStatus(FileUrl(item.front.path + "/.."));
    return !item.device && item.back.topLength == item.front.path.size() && above &&
           above->device == status.device;
}

}  // namespace halvenor
