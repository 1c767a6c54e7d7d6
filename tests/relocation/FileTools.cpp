#include "relocation/FileTools.h"

#include <cmath>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "base/FileDescriptor.h"

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
    std::ifstream counters("/proc/self/io");
    std::string name;
    int64_t count = -1;
    counters >> name >> count;
    EXPECT_EQ(name, "rchar:");
    return count;
}

void move(const FileUrl& from, const FileUrl& to) {
    std::filesystem::rename(from.path().toStdString(), to.path().toStdString());
}

void remove(const FileUrl& url) {
    require(std::filesystem::remove(url.path().toStdString()), url);
}

void overwrite(const FileUrl& url, int64_t offset, const QByteArray& bytes) {
    const FileDescriptor file(::open(url.path().constData(), O_WRONLY | O_CLOEXEC));
    require(::pwrite(file.get(), bytes.constData(), static_cast<size_t>(bytes.size()), offset) ==
                bytes.size(),
            url);
}

}  // namespace halvenor::test
