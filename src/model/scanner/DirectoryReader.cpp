#include "model/scanner/DirectoryReader.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace halvenor {

DirectoryReader::DirectoryReader(const FileUrl& url) : stream_(::opendir(url.path().constData())) {}

DirectoryReader::~DirectoryReader() {
    if (stream_) {
        ::closedir(stream_);
    }
}

std::optional<DirectoryReader::Entry> DirectoryReader::next() {
    while (stream_) {
        errno = 0;
        const dirent* const entry = ::readdir(stream_);
        if (!entry) {
            hasFailed_ = errno != 0;
            break;
        }
        const std::string_view name(entry->d_name);
        if (name.empty() || name.front() == '.') {
            continue;
        }
        switch (entry->d_type) {
            case DT_DIR:
                return Entry{name, Kind::folder, std::nullopt};
            case DT_REG:
                return Entry{name, Kind::file, std::nullopt};
            case DT_UNKNOWN:  // Some file systems leave it to a call for each entry.
                return classified(name);
            default:
                return Entry{name, Kind::ignored, std::nullopt};
        }
    }
    return std::nullopt;
}

DirectoryReader::Entry DirectoryReader::classified(std::string_view name) const {
    struct stat status = {};
    if (::fstatat(::dirfd(stream_), name.data(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return Entry{name, Kind::file, 0};
    }
    if (S_ISDIR(status.st_mode)) {
        return Entry{name, Kind::folder, std::nullopt};
    }
    return Entry{name, S_ISREG(status.st_mode) ? Kind::file : Kind::ignored, status.st_size};
}

int64_t DirectoryReader::fileSize(std::string_view name) const {
    struct stat status = {};
    const int result = ::fstatat(::dirfd(stream_), name.data(), &status, AT_SYMLINK_NOFOLLOW);
    return result == 0 ? status.st_size : 0;
}

}  // namespace halvenor
