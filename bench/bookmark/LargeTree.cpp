#include "LargeTree.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "base/FileDescriptor.h"

namespace halvenor::bench {

namespace {

void require(bool isDone) {
    if (!isDone) {
        std::perror("cannot make or remove the tree");
        std::exit(1);
    }
}

QByteArray folderName(int number) {
    return "Folder number " + QByteArray::number(number);
}

FileDescriptor opened(int parent, const char* name) {
    return FileDescriptor(::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

void fill(int parent, size_t level, int from, int to) {
    for (int number = from; number < to; ++number) {
        const QByteArray name = folderName(number);
        require(::mkdirat(parent, name.constData(), 0700) == 0);
        const FileDescriptor folder = opened(parent, name.constData());
        if (level + 1 < std::size(LargeTree::branches)) {
            fill(folder.get(), level + 1, 0, LargeTree::branches[level + 1]);
            continue;
        }
        for (int file = 0; file < LargeTree::files; ++file) {
            const FileDescriptor made(::openat(folder.get(), LargeTree::fileName(file).constData(),
                                               O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
            require(made.isOpen());
        }
    }
}

// Calls `visit` with each entry of a folder that is open, in which folders are entered first.
template <class Visit>
void forEach(const FileDescriptor& folder, const Visit& visit) {
    constexpr size_t bufferSize = 32 * 1024;
    const auto buffer = std::make_unique<char[]>(bufferSize);
    while (true) {
        const ssize_t count = ::getdents64(folder.get(), buffer.get(), bufferSize);
        if (count <= 0) {
            return;
        }
        for (ssize_t at = 0; at < count;) {
            const auto* const entry = reinterpret_cast<const dirent64*>(buffer.get() + at);
            at += entry->d_reclen;
            if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) {
                continue;
            }
            if (entry->d_type == DT_DIR) {
                forEach(opened(folder.get(), entry->d_name), visit);
            }
            visit(folder, *entry);
        }
    }
}

void removeEntry(const FileDescriptor& folder, const dirent64& entry) {
    const int flags = entry.d_type == DT_DIR ? AT_REMOVEDIR : 0;
    require(::unlinkat(folder.get(), entry.d_name, flags) == 0);
}

}  // namespace

LargeTree::LargeTree() {
    const FileDescriptor top = opened(AT_FDCWD, path().constData());
    require(top.isOpen());
    const int half = branches[0] / 2;
    const std::jthread other([&] { fill(top.get(), 0, 0, half); });
    fill(top.get(), 0, half, branches[0]);
}

LargeTree::~LargeTree() {
    const int half = branches[0] / 2;
    const auto removeRange = [this](int from, int to) {
        for (int number = from; number < to; ++number) {
            const QByteArray folder = path() + '/' + folderName(number);
            forEach(opened(AT_FDCWD, folder.constData()), removeEntry);
            require(::rmdir(folder.constData()) == 0);
        }
    };
    const std::jthread other([&] { removeRange(0, half); });
    removeRange(half, branches[0]);
}

QByteArray LargeTree::folder(int first, int second, int third) const {
    return path() + '/' + folderName(first) + '/' + folderName(second) + '/' + folderName(third);
}

QByteArray LargeTree::fileName(int number) {
    return QByteArray::number(number) + " - the title of a track.flac";
}

int64_t bareWalk(const QByteArray& path) {
    int64_t count = 0;
    forEach(opened(AT_FDCWD, path.constData()),
            [&](const FileDescriptor&, const dirent64&) { ++count; });
    return count;
}

}  // namespace halvenor::bench
