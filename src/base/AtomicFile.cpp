// Whole files, read and replaced. The folder is opened once and everything happens relative to it,
// so that a folder that is renamed meanwhile does not come between the steps.
#include "base/AtomicFile.h"

#include <QRandomGenerator>

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <sys/xattr.h>

#include "base/Error.h"
#include "base/FileDescriptor.h"

namespace halvenor {

namespace {

constexpr mode_t permissionBits = 07777;

[[noreturn]] void failWithErrno() {
    throw Error::fromErrno(errno);
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

// A name of its own for each attempt; hidden, so that no listing shows it.
QByteArray temporaryName() {
    const quint64 random = QRandomGenerator::system()->generate64();
    return ".halvenor-" + QByteArray::number(random, 16) + ".tmp";
}

void writeAll(int descriptor, const QByteArray& contents) {
    qsizetype written = 0;
    while (written < contents.size()) {
        const ssize_t count = ::write(descriptor, contents.constData() + written,
                                      static_cast<size_t>(contents.size() - written));
        if (count >= 0) {
            written += count;
        } else if (errno != EINTR) {
            failWithErrno();
        }
    }
}

// Calls a function of the xattr family twice: for the size, then for the bytes. Absent on failure.
template <class Call>
std::optional<QByteArray> sizedBytes(Call call) {
    const ssize_t size = call(nullptr, 0);
    if (size < 0) {
        return std::nullopt;
    }
    QByteArray bytes(size, Qt::Uninitialized);
    const ssize_t got = size == 0 ? 0 : call(bytes.data(), static_cast<size_t>(size));
    if (got < 0) {
        return std::nullopt;
    }
    bytes.truncate(got);
    return bytes;
}

// The user's own attributes must come along. Those of the system (labels, access lists) are set
// where the process may set them.
void copyAttributes(const FileUrl& from, int to) {
    const char* path = from.path().constData();
    const auto names =
        sizedBytes([&](char* buffer, size_t size) { return ::listxattr(path, buffer, size); });
    if (!names) {
        return;  // The file system has none.
    }
    for (const QByteArray& name : names->split('\0')) {
        if (name.isEmpty()) {
            continue;
        }
        const auto value = sizedBytes([&](char* buffer, size_t size) {
            return ::getxattr(path, name.constData(), buffer, size);
        });
        const bool isKept = value && ::fsetxattr(to, name.constData(), value->constData(),
                                                 static_cast<size_t>(value->size()), 0) == 0;
        if (!isKept && name.startsWith("user.")) {
            failWithErrno();
        }
    }
}

// Gives the file open as `to` what the present file at `target` carries beside its bytes.
void copyStatus(const FileUrl& target, const struct stat& status, int to) {
    mode_t mode = status.st_mode & permissionBits;
    struct stat made = {};
    if (::fstat(to, &made) != 0) {
        failWithErrno();
    }
    const bool isForeign = made.st_uid != status.st_uid || made.st_gid != status.st_gid;
    if (isForeign && ::fchown(to, status.st_uid, status.st_gid) != 0) {
        mode &= 0777;  // Never a set-user-id bit for another user than before.
    }
    copyAttributes(target, to);
    if (::fchmod(to, mode) != 0) {
        failWithErrno();
    }
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
        throw Error(ErrorKind::io, QStringLiteral("Not a regular file"));
    }
    if (::faccessat(folder, name.constData(), W_OK, AT_EACCESS) != 0) {
        failWithErrno();
    }
    return status;
}

// Removes the temporary file unless it has taken its place.
class TemporaryFile {
  public:
    TemporaryFile(int folder, QByteArray name)
        : folder_(folder),
          name_(std::move(name)),
          file_(
              ::openat(folder, name_.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600)) {
        if (!file_.isOpen()) {
            failWithErrno();
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (!isPlaced_) {
            ::unlinkat(folder_, name_.constData(), 0);
        }
    }

    int descriptor() const { return file_.get(); }

    void place(const QByteArray& name) {
        const bool isWritten = ::fsync(file_.get()) == 0 && file_.close();
        if (!isWritten || ::renameat(folder_, name_.constData(), folder_, name.constData()) != 0) {
            failWithErrno();
        }
        isPlaced_ = true;
    }

  private:
    int folder_;
    QByteArray name_;
    FileDescriptor file_;
    bool isPlaced_ = false;
};

}  // namespace

QByteArray readFile(const FileUrl& url) {
    // Not blocking: a pipe in the file's place is refused below instead of waited for.
    const FileDescriptor file(
        ::open(url.path().constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status = {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0) {
        failWithErrno();
    }
    if (!S_ISREG(status.st_mode)) {
        throw Error(ErrorKind::io, QStringLiteral("Not a regular file"));
    }
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
    const FileDescriptor folder(
        ::open(folderOf(target).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen()) {
        failWithErrno();
    }
    const std::optional<struct stat> status = statusToKeep(folder.get(), name);
    TemporaryFile temporary(folder.get(), temporaryName());
    writeAll(temporary.descriptor(), contents);
    if (status) {
        copyStatus(target, *status, temporary.descriptor());
    } else if (::fchmod(temporary.descriptor(), mode & permissionBits) != 0) {
        failWithErrno();
    }
    temporary.place(name);
    // The new file is in place whatever comes of this; some file systems can't flush a folder.
    ::fsync(folder.get());
}

}  // namespace halvenor
