#include "platform/bookmark/linux/TreeWalk.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "base/FileUrl.h"
#include "base/MoveTable.h"
#include "platform/bookmark/linux/HeldLocations.h"

namespace halvenor {

namespace {

constexpr size_t bufferSize = 64 * 1024;  // bytes; most folders are one call then

bool isDots(const char* name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

bool isFolder(const FileDescriptor& parent, const dirent64& entry) {
    if (entry.d_type != DT_UNKNOWN) {
        return entry.d_type == DT_DIR;
    }
    struct stat status = {};
    return ::fstatat(parent.get(), entry.d_name, &status, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) ==
               0 &&
           S_ISDIR(status.st_mode);
}

}  // namespace

TreeWalk::TreeWalk(uint64_t device, const InodeMap& sought, const MountTable& mounts,
                   Budget& budget, std::stop_token token, OnHit onHit)
    : device_(device),
      sought_(sought),
      mounts_(mounts),
      budget_(budget),
      token_(std::move(token)),
      onHit_(std::move(onHit)),
      buffer_(std::make_unique<char[]>(bufferSize)) {}

void TreeWalk::below(const QByteArray& top) {
    topFolder_ =
        FileDescriptor(::open(top.constData(), O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC));
    if (!topFolder_.isOpen() || !isNew(topFolder_)) {
        return;
    }
    top_ = top;
    realTop_ = placeOf(topFolder_).value_or(top);
    folders_.assign(1, Folder{0, 0});
    names_.assign(1, '\0');
    next_ = 1;
    list(topFolder_, 0);
    listQueued([](uint32_t) { return true; });
}

void TreeWalk::resumeIn(const QList<QByteArray>& folders) {
    hasEnded_ = false;
    listQueued([&](uint32_t queued) {
        const QByteArray path = pathOf(top_, queued, "");
        return std::ranges::any_of(folders,
                                   [&](const QByteArray& folder) { return inside(path, folder); });
    });
}

void TreeWalk::listQueued(const std::function<bool(uint32_t)>& isWanted) {
    for (; next_ < folders_.size() && !hasEnded(); ++next_) {
        if (!isWanted(next_)) {
            continue;
        }
        const FileDescriptor folder = opened(next_);
        if (folder.isOpen() && isNew(folder)) {
            list(folder, next_);
        }
    }
}

FileDescriptor TreeWalk::opened(uint32_t folder) const {
    // From its end to its front.
    char path[PATH_MAX];
    char* front = path + sizeof path - 1;
    *front = '\0';
    for (uint32_t i = folder; i != 0; i = folders_[i].above) {
        const char* const name = names_.c_str() + folders_[i].nameAt;
        const size_t length = std::strlen(name);
        if (front - path <= static_cast<ptrdiff_t>(length)) {
            return FileDescriptor();  // Nobody could open that by its path.
        }
        if (*front != '\0') {
            *--front = '/';
        }
        front -= length;
        std::memcpy(front, name, length);
    }
    return FileDescriptor(::openat(topFolder_.get(), front,
                                   O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
}

bool TreeWalk::isNew(const FileDescriptor& folder) {
    struct stat status = {};
    if (::fstat(folder.get(), &status) != 0 || status.st_dev != device_) {
        return false;
    }
    return std::exchange(listed_[status.st_ino], 1) == 0;
}

void TreeWalk::list(const FileDescriptor& folder, uint32_t index) {
    while (!isStopped()) {
        const ssize_t count = ::getdents64(folder.get(), buffer_.get(), bufferSize);
        if (count <= 0) {
            return;
        }
        for (ssize_t at = 0; at < count;) {
            const auto* const entry = reinterpret_cast<const dirent64*>(buffer_.get() + at);
            at += entry->d_reclen;
            if (!isDots(entry->d_name)) {
                take(folder, index, *entry);
            }
        }
        budget_.isExceeded = budget_.entries <= 0;
    }
}

void TreeWalk::take(const FileDescriptor& folder, uint32_t index, const dirent64& entry) {
    --budget_.entries;
    const uint32_t* const sought = sought_.find(entry.d_ino);
    if (sought && entry.d_type != DT_LNK) {
        const Hit hit{entry.d_ino, folder.get(), entry.d_name, pathOf(top_, index, entry.d_name),
                      *sought};
        if (hit.path.size() < PATH_MAX && !onHit_(hit)) {
            hasEnded_ = true;
        }
    }
    if (isFolder(folder, entry) && !isMountPoint(index, entry.d_name)) {
        queue(index, entry.d_name);
    }
}

void TreeWalk::queue(uint32_t above, const char* name) {
    folders_.push_back({above, static_cast<uint32_t>(names_.size())});
    names_.append(name, std::strlen(name) + 1);
}

// Even to open one could take for ever, where what is mounted there does not answer, or would have
// to be mounted first.
bool TreeWalk::isMountPoint(uint32_t above, const char* name) const {
    if (!mounts_.isMountPointName(name)) {
        return false;
    }
    const QByteArray path = pathOf(realTop_, above, name);
    return mounts_.isMountPoint({path.constData(), static_cast<size_t>(path.size())});
}

QByteArray TreeWalk::pathOf(const QByteArray& top, uint32_t folder, const char* name) const {
    QByteArray path = name;
    for (uint32_t i = folder; i != 0; i = folders_[i].above) {
        path.prepend(path.isEmpty() ? "" : "/").prepend(names_.c_str() + folders_[i].nameAt);
    }
    return path.isEmpty() ? top : FileUrl(top).appendingPathComponent(path).path();
}

}  // namespace halvenor
