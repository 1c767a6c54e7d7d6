#include "platform/decode/ByteSource.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/Error.h"

namespace halvenor {

namespace {

constexpr int64_t windowSize = 32 * 1024;

}  // namespace

FileBytes::FileBytes(const FileUrl& url) {
    // Non-blocking, so that a pipe that somebody named like music can't hang the program.
    descriptor_ = ::open(url.path().constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor_ < 0) {
        throw Error::fromErrno(errno);
    }
    struct stat status {};
    const int failure = ::fstat(descriptor_, &status) != 0 ? errno
                        : S_ISDIR(status.st_mode)          ? EISDIR
                        : S_ISREG(status.st_mode)          ? 0
                                                           : EINVAL;
    if (failure != 0) {
        ::close(descriptor_);
        throw Error::fromErrno(failure);
    }
    size_ = status.st_size;
}

FileBytes::~FileBytes() {
    ::close(descriptor_);
}

int64_t FileBytes::readDirectly(int64_t offset, std::span<uint8_t> into) const {
    size_t done = 0;
    while (done < into.size()) {
        const ssize_t got = ::pread(descriptor_, into.data() + done, into.size() - done,
                                    static_cast<off_t>(offset + static_cast<int64_t>(done)));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        done += static_cast<size_t>(got);
    }
    return static_cast<int64_t>(done);
}

int64_t FileBytes::read(int64_t offset, std::span<uint8_t> into) {
    if (offset < 0 || offset >= size_ || into.empty()) {
        return 0;
    }
    const auto wanted = static_cast<int64_t>(into.size());
    const auto isInWindow = [&] {
        return offset >= windowBegin_ && offset + wanted <= windowBegin_ + windowBytes_;
    };
    if (!isInWindow()) {
        if (wanted >= windowSize) {
            return readDirectly(offset, into);
        }
        window_.resize(windowSize);
        windowBegin_ = offset;
        windowBytes_ = readDirectly(offset, window_);
    }
    const int64_t given = std::min(wanted, windowBegin_ + windowBytes_ - offset);
    std::memcpy(into.data(), window_.data() + (offset - windowBegin_), static_cast<size_t>(given));
    return given;
}

int64_t MemoryBytes::read(int64_t offset, std::span<uint8_t> into) {
    if (offset < 0 || offset >= size() || into.empty()) {
        return 0;
    }
    const int64_t given = std::min(static_cast<int64_t>(into.size()), size() - offset);
    std::memcpy(into.data(), bytes_.data() + offset, static_cast<size_t>(given));
    return given;
}

}  // namespace halvenor
