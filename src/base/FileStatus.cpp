#include "base/FileStatus.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace halvenor {

namespace {

int64_t nanoseconds(const statx_timestamp& time) {
    return static_cast<int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

FileStatus::Kind kindOf(mode_t mode) {
    if (S_ISREG(mode)) {
        return FileStatus::Kind::file;
    }
    return S_ISDIR(mode) ? FileStatus::Kind::folder : FileStatus::Kind::other;
}

}  // namespace

bool itemExists(const FileUrl& url) {
    return fileStatus(url).has_value();
}

std::optional<FileStatus> fileStatus(const FileUrl& url) {
    return fileStatusAt(AT_FDCWD, url.path());
}

std::optional<FileStatus> fileStatusAt(int folder, const QByteArray& name) {
    struct statx raw = {};
    if (::statx(folder, name.constData(), AT_NO_AUTOMOUNT, STATX_BASIC_STATS | STATX_BTIME, &raw) !=
        0) {
        return std::nullopt;
    }
    FileStatus status;
    status.kind = kindOf(raw.stx_mode);
    status.device = makedev(raw.stx_dev_major, raw.stx_dev_minor);
    status.inode = raw.stx_ino;
    status.size = static_cast<int64_t>(raw.stx_size);
    status.modified = nanoseconds(raw.stx_mtime);
    if (raw.stx_mask & STATX_BTIME) {
        status.born = nanoseconds(raw.stx_btime);
    }
    return status;
}

}  // namespace halvenor
