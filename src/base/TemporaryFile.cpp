#include "base/TemporaryFile.h"

#include <QRandomGenerator>

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/file.h>
#include <sys/xattr.h>

#include "base/Error.h"

namespace halvenor {

namespace {

constexpr mode_t permissionBits = 07777;
constexpr char namePrefix[] = ".halvenor-";
constexpr char nameSuffix[] = ".tmp";

[[noreturn]] void failWithErrno() {
    throw Error::fromErrno(errno);
}

// A name of its own for each attempt; hidden, so that no listing shows it.
QByteArray temporaryName() {
    const quint64 random = QRandomGenerator::system()->generate64();
    return namePrefix + QByteArray::number(random, 16) + nameSuffix;
}

bool isTemporaryName(const QByteArray& name) {
    if (!name.startsWith(namePrefix) || !name.endsWith(nameSuffix)) {
        return false;
    }
    bool isNumber = false;
    name.sliced(sizeof namePrefix - 1).chopped(sizeof nameSuffix - 1).toULongLong(&isNumber, 16);
    return isNumber;
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
        if (errno == ENOTSUP) {
            return;  // The file system has none.
        }
        failWithErrno();
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

bool isAbandoned(int folder, const QByteArray& name, int64_t before) {
    const FileDescriptor file(::openat(folder, name.constData(),
                                       O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    struct stat status = {};
    return file.isOpen() && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) &&
           status.st_uid == ::geteuid() && status.st_nlink == 1 && status.st_mtime < before &&
           ::flock(file.get(), LOCK_EX | LOCK_NB) == 0;
}

}  // namespace

TemporaryFile::TemporaryFile(int folder)
    : folder_(folder),
      name_(temporaryName()),
      file_(::openat(folder, name_.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600)) {
    if (!file_.isOpen()) {
        failWithErrno();
    }
    ::flock(file_.get(), LOCK_EX | LOCK_NB);  // Where locks don't exist, its age guards it.
}

TemporaryFile::~TemporaryFile() {
    if (!isPlaced_) {
        ::unlinkat(folder_, name_.constData(), 0);
    }
}

void TemporaryFile::takeStatus(const FileUrl& original, const struct stat& status) {
    mode_t mode = status.st_mode & permissionBits;
    struct stat made = {};
    if (::fstat(file_.get(), &made) != 0) {
        failWithErrno();
    }
    const bool isForeign = made.st_uid != status.st_uid || made.st_gid != status.st_gid;
    if (isForeign && ::fchown(file_.get(), status.st_uid, status.st_gid) != 0) {
        mode &= 0777;  // Never a set-user-id bit for another user than before.
    }
    copyAttributes(original, file_.get());
    if (::fchmod(file_.get(), mode) != 0) {
        failWithErrno();
    }
}

void TemporaryFile::flush() {
    if (::fsync(file_.get()) != 0) {
        failWithErrno();
    }
}

void TemporaryFile::place(const QByteArray& name) {
    if (::renameat(folder_, name_.constData(), folder_, name.constData()) != 0) {
        failWithErrno();
    }
    isPlaced_ = true;
}

void removeAbandonedTemporaries(const FileUrl& folder, int64_t before) {
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(folder.path().constData()),
                                                     &::closedir);
    if (!stream) {
        return;
    }
    const int descriptor = ::dirfd(stream.get());
    while (const dirent* const entry = ::readdir(stream.get())) {
        const QByteArray name(entry->d_name);
        if (isTemporaryName(name) && isAbandoned(descriptor, name, before)) {
            ::unlinkat(descriptor, name.constData(), 0);
        }
    }
}

}  // namespace halvenor
