// Whole files, read and replaced. The folder is opened once and everything happens relative to it,
// so that a folder that is renamed meanwhile does not come between the steps.
#include "base/AtomicFile.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <set>
#include <utility>

#include "base/Error.h"
#include "base/FileCopy.h"
#include "base/TemporaryFile.h"

namespace halvenor {

namespace {

constexpr mode_t permissionBits = 07777;

[[noreturn]] void failWithErrno() {
    throw Error::fromErrno(errno);
}

[[noreturn]] void failAsIrregular() {
    throw Error(ErrorKind::io, QStringLiteral("Not a regular file"));
}

// Where the chain of symbolic links that begins at `url` ends. The end need not exist.
FileUrl linkTarget(FileUrl url) {
    constexpr int maximumLinks = 40;  // as many as the kernel follows
    for (int followed = 0; followed < maximumLinks; ++followed) {
        char buffer[4096];
        const ssize_t length = ::readlink(url.path().constData(), buffer, sizeof buffer);
        if (length < 0) {
            return url;
        }
        const QByteArray target(buffer, length);
        url = target.startsWith('/')
                  ? FileUrl(target)
                  : url.deletingLastPathComponent().appendingPathComponent(target);
    }
    throw Error::fromErrno(ELOOP);
}

QByteArray folderOf(const FileUrl& url) {
    const QByteArray folder = url.deletingLastPathComponent().path();
    return folder.isEmpty() ? QByteArray(".") : folder;
}

FileDescriptor openFolderOf(const FileUrl& url) {
    FileDescriptor folder(::open(folderOf(url).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen()) {
        failWithErrno();
    }
    return folder;
}

// Opens a regular file for reading; links at the end of the path only if `flags` let them be.
FileDescriptor openRegular(int folder, const QByteArray& name, int flags, struct stat& status) {
    // Not blocking: a pipe in the file's place is refused below instead of waited for.
    FileDescriptor file(
        ::openat(folder, name.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | flags));
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0) {
        failWithErrno();
    }
    if (!S_ISREG(status.st_mode)) {
        failAsIrregular();
    }
    return file;
}

// Absent when nothing is there. Throws where something is that must not be replaced.
std::optional<struct stat> statusToKeep(int folder, const QByteArray& name) {
    struct stat status = {};
    if (::fstatat(folder, name.constData(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno == ENOENT) {
            return std::nullopt;
        }
        failWithErrno();
    }
    if (!S_ISREG(status.st_mode)) {
        failAsIrregular();
    }
    if (::faccessat(folder, name.constData(), W_OK, AT_EACCESS) != 0) {
        failWithErrno();
    }
    return status;
}

bool isUnchanged(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
           a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

}  // namespace

QByteArray readFile(const FileUrl& url) {
    struct stat status = {};
    const FileDescriptor file = openRegular(AT_FDCWD, url.path(), 0, status);
    QByteArray contents;
    // One byte more than its size, so that the end is seen without growing the buffer.
    qsizetype room = status.st_size + 1;
    qsizetype length = 0;
    for (;;) {
        contents.resize(length + room);
        const ssize_t count =
            ::read(file.get(), contents.data() + length, static_cast<size_t>(room));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            failWithErrno();
        }
        length += count;
        if (count == 0) {
            break;
        }
        room = std::max<qsizetype>(contents.size() - length, 4096);
    }
    contents.resize(length);
    return contents;
}

void writeFileAtomically(const FileUrl& url, const QByteArray& contents, unsigned mode) {
    const FileUrl target = linkTarget(url);
    const QByteArray name = target.lastPathComponent();
    const FileDescriptor folder = openFolderOf(target);
    const std::optional<struct stat> status = statusToKeep(folder.get(), name);
    TemporaryFile temporary(folder.get());
    writeFully(temporary.descriptor(), contents);
    if (status) {
        temporary.takeStatus(target, *status);
    } else if (::fchmod(temporary.descriptor(), mode & permissionBits) != 0) {
        failWithErrno();
    }
    temporary.flush();
    temporary.place(name);
    // The new file is in place whatever comes of this; some file systems can't flush a folder.
    ::fsync(folder.get());
}

FileReplacement::FileReplacement(const FileUrl& url)
    : target_(linkTarget(url)),
      folder_(openFolderOf(target_)),
      file_(openRegular(folder_.get(), target_.lastPathComponent(), O_NOFOLLOW, status_)) {}

QByteArray FileReplacement::read(int64_t offset, int64_t length) const {
    QByteArray bytes(std::min(length, std::max<int64_t>(0, size() - offset)), Qt::Uninitialized);
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t count = ::pread(file_.get(), bytes.data() + done,
                                      static_cast<size_t>(bytes.size() - done), offset + done);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            failWithErrno();
        }
        if (count == 0) {
            throw Error(ErrorKind::io, QStringLiteral("The file became shorter while it was read"));
        }
        done += count;
    }
    return bytes;
}

void FileReplacement::replace(const std::vector<QByteArray>& head, int64_t keptFrom) {
    const QByteArray name = target_.lastPathComponent();
    requireUnchanged();
    TemporaryFile temporary(folder_.get());
    for (const QByteArray& bytes : head) {
        writeFully(temporary.descriptor(), bytes);
    }
    appendStretch(file_.get(), keptFrom, size() - keptFrom, temporary.descriptor());
    temporary.takeStatus(target_, requireUnchanged());
    temporary.flush();
    requireUnchanged();
    temporary.place(name);
}

void flushFoldersOf(const QList<FileUrl>& urls) {
    std::set<std::pair<dev_t, ino_t>> flushed;
    for (const FileUrl& url : urls) {
        try {
            const FileDescriptor folder = openFolderOf(linkTarget(url));
            struct stat status = {};
            if (::fstat(folder.get(), &status) == 0 &&
                flushed.emplace(status.st_dev, status.st_ino).second) {
                ::fsync(folder.get());
            }
        } catch (const Error&) {
            continue;  // It has gone, and the file with it.
        }
    }
}

struct stat FileReplacement::requireUnchanged() const {
    const auto status = statusToKeep(folder_.get(), target_.lastPathComponent());
    if (!status) {
        throw Error::fromErrno(ENOENT);
    }
    if (!isUnchanged(*status, status_)) {
        throw Error(ErrorKind::io, QStringLiteral("The file was changed by another program"));
    }
    return *status;
}

}  // namespace halvenor
