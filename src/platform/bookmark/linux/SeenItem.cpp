#include "platform/bookmark/linux/SeenItem.h"

#include <cstring>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <utility>

namespace halvenor {

SeenItem::SeenItem(int folder, QByteArray name)
    : folder_(folder), name_(std::move(name)), status_(fileStatusAt(folder_, name_)) {}

bool SeenItem::isStill(FileStatus::Kind kind, const ItemIdentity& identity) {
    if (!exists() || status().kind != kind || status().inode != identity.inode) {
        return false;
    }
    // The birth time comes with the status; a handle would be another call.
    const Match match = byBirth(identity);
    return (match == Match::number ? byHandle(identity) : match) != Match::none;
}

bool SeenItem::isMoved(const BookmarkFront& front, const BookmarkBack& back) {
    if (!exists() || status().kind != front.kind || status().inode != front.item.inode) {
        return false;
    }
    const Match match = thorough(front.item);
    return match == Match::proof ||
           (match == Match::number && front.kind == FileStatus::Kind::file &&
            status().size == back.size && status().modified == back.modified);
}

bool SeenItem::isMovedFolder(const ItemIdentity& identity) {
    return exists() && status().kind == FileStatus::Kind::folder &&
           status().inode == identity.inode && thorough(identity) == Match::proof;
}

uint64_t SeenItem::linkCount() const {
    struct stat status = {};
    return ::fstatat(folder_, name_.constData(), &status, 0) == 0 ? status.st_nlink : 0;
}

SeenItem::Match SeenItem::byBirth(const ItemIdentity& identity) const {
    if (!identity.born || !status().born) {
        return Match::number;
    }
    return *identity.born == *status().born ? Match::proof : Match::none;
}

SeenItem::Match SeenItem::byHandle(const ItemIdentity& identity) {
    if (identity.handle.isEmpty() || handle().isEmpty()) {
        return Match::number;
    }
    return identity.handle == handle() ? Match::proof : Match::none;
}

// Clocks tick slowly: two items with one number, one after the other, can be born in the same tick.
SeenItem::Match SeenItem::thorough(const ItemIdentity& identity) {
    const Match birth = byBirth(identity);
    if (birth == Match::none) {
        return birth;
    }
    const Match handle = byHandle(identity);
    return handle == Match::number ? birth : handle;
}

const QByteArray& SeenItem::handle() {
    if (!handle_) {
        handle_ = fileHandle(folder_, name_);
    }
    return *handle_;
}

QByteArray fileHandle(int folder, const QByteArray& name) {
    // The kernel's struct, with the room for the bytes that follow it.
    alignas(file_handle) char room[sizeof(file_handle) + MAX_HANDLE_SZ];
    auto* const handle = reinterpret_cast<file_handle*>(room);
    handle->handle_bytes = MAX_HANDLE_SZ;
    int mount = 0;
    if (::name_to_handle_at(folder, name.constData(), handle, &mount, AT_SYMLINK_FOLLOW) != 0) {
        return {};
    }
    QByteArray bytes(reinterpret_cast<const char*>(&handle->handle_type),
                     sizeof handle->handle_type);
    bytes.append(reinterpret_cast<const char*>(handle->f_handle), handle->handle_bytes);
    return bytes;
}

std::optional<FileSystemFacts> fileSystemAt(const QByteArray& path) {
    struct statfs raw = {};
    if (::statfs(path.constData(), &raw) != 0) {
        return std::nullopt;
    }
    FileSystemFacts facts;
    static_assert(sizeof raw.f_fsid == sizeof facts.id);
    std::memcpy(&facts.id, &raw.f_fsid, sizeof facts.id);
    // Theirs hold numbers that the serving program makes up as it goes.
    facts.hasLastingHandles = raw.f_type != FUSE_SUPER_MAGIC;
    return facts;
}

}  // namespace halvenor
