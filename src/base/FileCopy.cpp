#include "base/FileCopy.h"

#include <QByteArray>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

#include "base/Error.h"

namespace halvenor {

namespace {

// What is asked of the kernel at once: large enough to cost nothing, small enough that the disk is
// at work on one stretch while the next is copied.
constexpr int64_t stretchBytes = 1 << 20;
constexpr int64_t blockBytes = 256 << 10;

[[noreturn]] void failWithErrno() {
    throw Error::fromErrno(errno);
}

[[noreturn]] void failAsShorter() {
    throw Error(ErrorKind::io, QStringLiteral("The file became shorter while it was copied"));
}

// The plain way. @return bytes copied
int64_t copyBlock(int from, int64_t offset, int64_t length, int to) {
    QByteArray block(std::min(length, blockBytes), Qt::Uninitialized);
    ssize_t got = 0;
    do {
        got = ::pread(from, block.data(), static_cast<size_t>(block.size()), offset);
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
        failWithErrno();
    }
    if (got == 0) {
        failAsShorter();
    }
    writeFully(to, QByteArrayView(block).first(got));
    return got;
}

// A stretch without holes.
void appendData(int from, int64_t offset, int64_t end, int to) {
    bool doesKernelCopy = true;
    while (offset < end) {
        const int64_t wanted = std::min(end - offset, stretchBytes);
        int64_t copied = 0;
        if (doesKernelCopy) {
            off_t place = offset;
            copied = ::copy_file_range(from, &place, to, nullptr, static_cast<size_t>(wanted), 0);
            if (copied < 0 && errno == EINTR) {
                continue;
            }
        }
        if (copied <= 0) {
            // Not every file system can. Where the disk is the reason, the plain way fails, too.
            doesKernelCopy = false;
            copied = copyBlock(from, offset, wanted, to);
        }
        offset += copied;
        // Whoever replaces a file waits for the disk in the end: it may as well begin now.
        ::sync_file_range(to, 0, 0, SYNC_FILE_RANGE_WRITE);
    }
}

// Where the hole at `offset` ends, if there is one; at the most `end`.
int64_t beginOfData(int from, int64_t offset, int64_t end) {
    const off_t data = ::lseek(from, offset, SEEK_DATA);
    if (data >= 0) {
        return std::min<int64_t>(data, end);
    }
    if (errno != ENXIO) {
        return offset;  // Holes are unknown here.
    }
    // Nothing but a hole, as far as the file goes.
    const off_t size = ::lseek(from, 0, SEEK_END);
    if (size < end) {
        failAsShorter();
    }
    return end;
}

// Leaves a hole. One at the end is made by the file's size alone.
void skip(int to, int64_t length, bool isAtEnd) {
    const off_t place = ::lseek(to, length, SEEK_CUR);
    if (place < 0 || (isAtEnd && ::ftruncate(to, place) != 0)) {
        failWithErrno();
    }
}

}  // namespace

void writeFully(int to, QByteArrayView bytes) {
    while (!bytes.isEmpty()) {
        const ssize_t count = ::write(to, bytes.data(), static_cast<size_t>(bytes.size()));
        if (count >= 0) {
            bytes = bytes.sliced(count);
        } else if (errno != EINTR) {
            failWithErrno();
        }
    }
}

void appendStretch(int from, int64_t offset, int64_t length, int to) {
    const int64_t end = offset + length;
    while (offset < end) {
        const int64_t data = beginOfData(from, offset, end);
        if (data > offset) {
            skip(to, data - offset, data == end);
        }
        const int64_t hole = data < end ? ::lseek(from, data, SEEK_HOLE) : end;
        offset = hole > data ? std::min(hole, end) : end;
        appendData(from, data, offset, to);
    }
}

}  // namespace halvenor
