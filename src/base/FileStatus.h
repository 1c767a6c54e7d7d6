#pragma once

#include <cstdint>
#include <optional>

#include "base/FileUrl.h"

namespace halvenor {

/// Whether something is at `url`, links followed. Any thread; touches the disk.
bool itemExists(const FileUrl& url);

/// What one look at an item tells. Times are in nanoseconds since 1970-01-01 UTC.
struct FileStatus {
    enum class Kind { file, folder, other };

    Kind kind = Kind::other;
    uint64_t device = 0;  ///< of the file system; not the same after a restart of the system
    uint64_t inode = 0;
    int64_t size = 0;  ///< bytes
    int64_t modified = 0;
    /// When the inode was made; absent where the file system does not tell.
    std::optional<int64_t> born;
};

/// The status of what is at `url`, links followed; absent when nothing is there or it can't be
/// looked at. One system call; nothing is mounted for it. Any thread.
std::optional<FileStatus> fileStatus(const FileUrl& url);

/// The same for `name` (or a relative path) in the folder open as `folder`.
/// @param folder a descriptor, or AT_FDCWD for an absolute `name`
std::optional<FileStatus> fileStatusAt(int folder, const QByteArray& name);

}  // namespace halvenor
