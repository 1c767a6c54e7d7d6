#include "relocation/Fingerprint.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/FileDescriptor.h"
#include "base/FileStatus.h"
#include "relocation/Sha256.h"

namespace halvenor {

namespace {

constexpr int64_t blockSize = 64 << 10;  // bytes

// In ascending order; blocks that begin at one place are beside each other.
std::array<int64_t, 3> blockOffsets(int64_t size) {
    const int64_t middle = size >= blockSize ? size / 2 - blockSize / 2 : 0;
    return {0, middle, std::max<int64_t>(size - blockSize, 0)};
}

// Appends a block, or what there is of it at the end of the file.
bool readBlock(int file, int64_t offset, QByteArray& content) {
    const qsizetype start = content.size();
    content.resize(start + blockSize);
    int64_t length = 0;
    while (length < blockSize) {
        const ssize_t count = ::pread(file, content.data() + start + length,
                                      static_cast<size_t>(blockSize - length), offset + length);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return false;
        }
        if (count == 0) {
            break;
        }
        length += count;
    }
    content.resize(start + length);
    return true;
}

// Not blocking, and nothing but a regular file is opened: opening alone can do things to a device.
FileDescriptor openFile(const FileUrl& url) {
    const auto status = fileStatus(url);
    if (!status || status->kind != FileStatus::Kind::file) {
        return {};
    }
    return FileDescriptor(
        ::open(url.path().constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
}

}  // namespace

std::optional<QByteArray> fingerprint(const FileUrl& url) {
    const FileDescriptor file = openFile(url);
    struct stat status = {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    const auto offsets = blockOffsets(status.st_size);
    // All blocks at once: a disk takes half the time that it would for one after the other.
    for (const int64_t offset : offsets) {
        ::posix_fadvise(file.get(), offset, blockSize, POSIX_FADV_WILLNEED);
    }
    QByteArray content;
    content.reserve(static_cast<qsizetype>(offsets.size()) * blockSize);
    int64_t last = -1;
    for (const int64_t offset : offsets) {
        if (offset != last && !readBlock(file.get(), offset, content)) {
            return std::nullopt;
        }
        last = offset;
    }
    return QByteArray::number(static_cast<qlonglong>(status.st_size)) + ':' +
           sha256(content).toHex();
}

}  // namespace halvenor
