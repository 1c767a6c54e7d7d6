#include "relocation/FileTools.h"

#include <cmath>
#include <cstdio>
#include <fcntl.h>
#include <random>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "base/AtomicFile.h"
#include "base/FileDescriptor.h"
#include "base/FileStatus.h"

namespace halvenor::test {

namespace {

void require(bool isDone, const FileUrl& url) {
    if (!isDone) {
        throw std::runtime_error("no success with " + url.path().toStdString());
    }
}

}  // namespace

QByteArray noise(qsizetype size, unsigned seed) {
    std::mt19937 generator(seed);
    QByteArray bytes(size, Qt::Uninitialized);
    for (char& byte : bytes) {
        byte = static_cast<char>(generator());
    }
    return bytes;
}

void setModified(const FileUrl& url, double seconds) {
    const double whole = std::floor(seconds);
    const timespec time = {static_cast<time_t>(whole), static_cast<long>((seconds - whole) * 1e9)};
    const timespec times[2] = {time, time};
    require(::utimensat(AT_FDCWD, url.path().constData(), times, 0) == 0, url);
}

int64_t bytesRead() {
    const FileUrl counters(QByteArray("/proc/self/io"));
    const FileDescriptor file(::open(counters.path().constData(), O_RDONLY | O_CLOEXEC));
    char text[512] = {};
    require(::read(file.get(), text, sizeof text - 1) > 0, counters);
    long long count = 0;
    require(std::sscanf(text, "rchar: %lld", &count) == 1, counters);
    return count;
}

uint64_t inodeOf(const FileUrl& url) {
    const auto status = fileStatus(url);
    return status ? status->inode : 0;
}

void move(const FileUrl& from, const FileUrl& to) {
    require(::rename(from.path().constData(), to.path().constData()) == 0, from);
}

void remove(const FileUrl& url) {
    require(::unlink(url.path().constData()) == 0, url);
}

void overwrite(const FileUrl& url, int64_t offset, const QByteArray& bytes) {
    const FileDescriptor file(::open(url.path().constData(), O_WRONLY | O_CLOEXEC));
    require(::pwrite(file.get(), bytes.constData(), static_cast<size_t>(bytes.size()), offset) ==
                bytes.size(),
            url);
}

}  // namespace halvenor::test
