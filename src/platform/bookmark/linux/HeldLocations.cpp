#include "platform/bookmark/linux/HeldLocations.h"

#include <algorithm>
#include <array>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/FileStatus.h"
#include "base/FileUrl.h"
#include "platform/bookmark/linux/MountTable.h"

namespace halvenor {

namespace {

bool isInUseAnyway(dev_t device) {
    const auto isOn = [&](const QByteArray& path) {
        const auto status = fileStatus(FileUrl(path));
        return status && status->device == device;
    };
    return isOn("/") || isOn(qgetenv("HOME"));
}

bool isRemoved(const FileDescriptor& folder) {
    struct stat status = {};
    return ::fstat(folder.get(), &status) != 0 || status.st_nlink == 0;
}

}  // namespace

std::optional<QByteArray> placeOf(const FileDescriptor& item) {
    const QByteArray link = "/proc/self/fd/" + QByteArray::number(item.get());
    std::array<char, PATH_MAX> buffer;
    const ssize_t length = ::readlink(link.constData(), buffer.data(), buffer.size());
    QByteArray place(buffer.data(), std::max<ssize_t>(length, 0));
    // A name may really end in the " (deleted)" that stands behind the last place of what is gone.
    struct stat opened = {};
    struct stat found = {};
    const bool isThere = ::fstat(item.get(), &opened) == 0 &&
                         ::lstat(place.constData(), &found) == 0 && opened.st_dev == found.st_dev &&
                         opened.st_ino == found.st_ino;
    return isThere ? std::optional(place) : std::nullopt;
}

void HeldLocations::hold(Location& location) {
    FileDescriptor folder(::open(location.path.constData(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct stat status = {};
    if (!folder.isOpen() || ::fstat(folder.get(), &status) != 0 || !isInUseAnyway(status.st_dev)) {
        return;
    }
    if (const auto place = placeOf(folder)) {
        location.folder = std::move(folder);
        location.openedAt = *place;
    }
}

bool HeldLocations::set(const QList<QByteArray>& paths) {
    const MountTable mounts = MountTable::current();
    std::vector<Location> wanted;
    bool isExtended = false;
    for (const QByteArray& path : paths) {
        if (std::ranges::find(wanted, path, &Location::path) != wanted.end()) {
            continue;
        }
        const auto known = std::ranges::find(locations_, path, &Location::path);
        if (known == locations_.end()) {
            isExtended = true;
            wanted.push_back({path, FileDescriptor(), QByteArray()});
        } else {
            wanted.push_back(std::move(*known));
            locations_.erase(known);
        }
        Location& location = wanted.back();
        if (location.folder.isOpen() && isRemoved(location.folder)) {
            location.folder.close();
        }
        if (!location.folder.isOpen() && !mounts.isWaitingForMount(path)) {
            hold(location);
        }
    }
    std::ranges::stable_sort(wanted, std::ranges::greater(),
                             [](const Location& location) { return location.path.size(); });
    locations_ = std::move(wanted);
    return isExtended;
}

std::vector<HeldLocations::Place> HeldLocations::places() const {
    std::vector<Place> places;
    for (const Location& location : locations_) {
        Place place{location.path, std::nullopt};
        if (location.folder.isOpen()) {
            place.movedTo = placeOf(location.folder);
            if (place.movedTo == location.openedAt) {
                place.movedTo.reset();
            }
        }
        places.push_back(std::move(place));
    }
    return places;
}

}  // namespace halvenor
