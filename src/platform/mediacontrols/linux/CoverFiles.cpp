#include "platform/mediacontrols/linux/CoverFiles.h"

#include <QBuffer>
#include <QHash>
#include <QImageReader>
#include <QRandomGenerator>

#include <algorithm>
#include <array>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace halvenor {

namespace {

constexpr QByteArrayView lockExtension = ".lock";
constexpr QByteArrayView coverWord = "-cover-";

struct ImageKind {
    const char* format;  ///< Qt's word
    const char* extension;
};
constexpr std::array imageKinds = {ImageKind{"jpeg", ".jpg"},  ImageKind{"png", ".png"},
                                   ImageKind{"webp", ".webp"}, ImageKind{"gif", ".gif"},
                                   ImageKind{"bmp", ".bmp"},   ImageKind{"tiff", ".tiff"}};

// The extension for a file of these bytes; null when they make no image. Tells by reading them, in
// a small size where that saves work.
const char* imageExtension(const QByteArray& image) {
    QBuffer buffer;
    buffer.setData(image);
    QImageReader reader(&buffer);
    const QByteArray format = reader.format();
    for (const ImageKind& kind : imageKinds) {
        if (format == kind.format) {
            reader.setScaledSize(reader.size().scaled(64, 64, Qt::KeepAspectRatio));
            return reader.read().isNull() ? nullptr : kind.extension;
        }
    }
    return nullptr;
}

void makeFolders(const FileUrl& folder) {
    if (::mkdir(folder.path().constData(), 0700) != 0 && errno == ENOENT) {
        makeFolders(folder.deletingLastPathComponent());
        ::mkdir(folder.path().constData(), 0700);
    }
}

// Not open when it can't be had (errno tells why).
FileDescriptor lockFile(const FileUrl& url, int flags) {
    FileDescriptor file(
        ::open(url.path().constData(), O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | flags, 0600));
    const bool isLocked = file.isOpen() && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0;
    return isLocked ? std::move(file) : FileDescriptor();
}

bool isStillThere(const FileDescriptor& file) {
    struct stat status = {};
    return ::fstat(file.get(), &status) == 0 && status.st_nlink > 0;
}

bool writeNewFile(const FileUrl& url, const QByteArray& bytes) {
    FileDescriptor file(
        ::open(url.path().constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    const char* next = bytes.constData();
    qsizetype left = bytes.size();
    while (file.isOpen() && left > 0) {
        const ssize_t written = ::write(file.get(), next, static_cast<size_t>(left));
        if (written < 0 && errno != EINTR) {
            break;
        }
        next += std::max<ssize_t>(written, 0);
        left -= std::max<ssize_t>(written, 0);
    }
    const bool isWhole = file.isOpen() && file.close() && left == 0;
    if (!isWhole && errno != EEXIST) {
        ::unlink(url.path().constData());
    }
    return isWhole;
}

QList<QByteArray> namesIn(const FileUrl& folder) {
    QList<QByteArray> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> opened(::opendir(folder.path().constData()),
                                                     &::closedir);
    while (const dirent* const entry = opened ? ::readdir(opened.get()) : nullptr) {
        names.append(entry->d_name);
    }
    return names;
}

}  // namespace

CoverFiles::~CoverFiles() {
    clear();
    if (lock_.isOpen()) {
        ::unlink(lockOf(name_).path().constData());
    }
}

// A process that removes leftovers may lock and remove the file between its making and its lock,
// and users empty their caches; then another is made.
bool CoverFiles::claimName() {
    for (int attempt = 0; attempt < 3; ++attempt) {
        if (lock_.isOpen() && isStillThere(lock_)) {
            return true;
        }
        makeFolders(folder_);
        name_ = QByteArray::number(QRandomGenerator::system()->generate64(), 36);
        lock_ = lockFile(lockOf(name_), O_CREAT | O_EXCL);
    }
    return lock_.isOpen() && isStillThere(lock_);
}

std::optional<FileUrl> CoverFiles::put(const QByteArray& image) {
    const char* const extension = imageExtension(image);
    if (extension == nullptr || !claimName()) {
        return std::nullopt;
    }
    removeAllBut(1);
    const FileUrl cover = folder_.appendingPathComponent(
        name_ + coverWord.toByteArray() + QByteArray::number(++written_) + extension);
    if (!writeNewFile(cover, image)) {
        return std::nullopt;
    }
    covers_.append(cover);
    return cover;
}

void CoverFiles::clear() {
    removeAllBut(0);
}

void CoverFiles::removeAllBut(qsizetype kept) {
    while (covers_.size() > kept) {
        ::unlink(covers_.takeFirst().path().constData());
    }
}

void CoverFiles::removeLeftovers() const {
    QHash<QByteArray, bool> isDeadByOwner;
    for (const QByteArray& name : namesIn(folder_)) {
        const qsizetype end = name.endsWith(lockExtension) ? name.size() - lockExtension.size()
                                                           : name.lastIndexOf(coverWord);
        if (end <= 0) {
            continue;
        }
        const QByteArray owner = name.left(end);
        if (!isDeadByOwner.contains(owner)) {
            isDeadByOwner.insert(owner, isDead(owner));
        }
        if (isDeadByOwner.value(owner)) {
            ::unlink(folder_.appendingPathComponent(name).path().constData());
        }
    }
}

// Covers are made after their lock and removed before it. So those whose lock is not there, or can
// be had, are nobody's.
bool CoverFiles::isDead(const QByteArray& owner) const {
    const FileDescriptor lock = lockFile(lockOf(owner), 0);
    return lock.isOpen() ? ::unlink(lockOf(owner).path().constData()) == 0 : errno == ENOENT;
}

FileUrl CoverFiles::lockOf(const QByteArray& owner) const {
    return folder_.appendingPathComponent(owner + lockExtension.toByteArray());
}

}  // namespace halvenor
