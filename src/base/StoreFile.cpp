#include "base/StoreFile.h"

#include <QCryptographicHash>
#include <QThreadPool>

#include <cerrno>
#include <condition_variable>
#include <exception>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "base/AtomicFile.h"
#include "base/Error.h"

namespace halvenor {

namespace {

bool isFolder(const QByteArray& path) {
    struct stat status = {};
    return ::stat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

// Links are followed: one that leads nowhere has nothing to lose, and writing makes its target.
bool isMissing(const FileUrl& file) {
    struct stat status = {};
    return ::stat(file.path().constData(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

bool isSameItem(const FileUrl& a, const FileUrl& b) {
    struct stat first = {};
    struct stat second = {};
    return ::stat(a.path().constData(), &first) == 0 &&
           ::stat(b.path().constData(), &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

// Tells two contents apart; the fastest that is at hand.
QByteArray digestOf(const QByteArray& bytes) {
    return QCryptographicHash::hash(bytes, QCryptographicHash::Blake2b_256);
}

// For this user alone, with the folders above it that are missing.
void makeFolders(const FileUrl& folder) {
    const QByteArray& path = folder.path();
    if (path.isEmpty() || isFolder(path)) {
        return;
    }
    makeFolders(folder.deletingLastPathComponent());
    if (::mkdir(path.constData(), 0700) != 0) {
        const int reason = errno;
        if (!isFolder(path)) {
            throw Error::fromErrno(reason);
        }
    }
}

// Under a second name beside it: "name.damaged-1" or the next number that is free.
void keepDamagedCopy(const FileUrl& file) {
    constexpr int mostCopies = 1000;
    for (int number = 1; number <= mostCopies; ++number) {
        const FileUrl copy(file.path() + ".damaged-" + QByteArray::number(number));
        // A second name for the same file loses nothing and needs no room. The file itself is left
        // alone from now on: a new one takes its first name.
        if (::linkat(AT_FDCWD, file.path().constData(), AT_FDCWD, copy.path().constData(),
                     AT_SYMLINK_FOLLOW) == 0 ||
            (errno == EEXIST && isSameItem(file, copy))) {
            return;
        }
        if (errno != EEXIST) {
            writeFileAtomically(copy, readFile(file));  // No second names here.
            return;
        }
    }
    throw Error::fromErrno(EEXIST);
}

}  // namespace

class StoreFile::Impl {
  public:
    explicit Impl(FileUrl url) : url_(std::move(url)) { pool_.setMaxThreadCount(1); }

    const FileUrl& url() const { return url_; }

    void read(const std::function<void(const QByteArray&)>& decode) {
        if (isMissing(url_)) {
            return;
        }
        try {
            const QByteArray bytes = readFile(url_);
            contents_ = digestOf(bytes);
            decode(bytes);
        } catch (const std::exception& error) {
            const std::lock_guard lock(mutex_);
            isDamaged_ = true;
            qWarning("%s can't be read: %s", url_.path().constData(), error.what());
        }
    }

    void save(std::function<QByteArray()> encode) {
        const std::lock_guard lock(mutex_);
        pending_ = std::move(encode);
        failed_ = nullptr;
        startIfIdle();
    }

    bool flush() {
        std::unique_lock lock(mutex_);
        if (failed_ && !pending_) {
            pending_ = std::exchange(failed_, nullptr);
            startIfIdle();
        }
        idle_.wait(lock, [this] { return !isWriting_; });
        return !failed_;
    }

    bool isUpToDate() const {
        const std::lock_guard lock(mutex_);
        return !isWriting_ && !failed_;
    }

  private:
    // With the mutex held.
    void startIfIdle() {
        if (pending_ && !isWriting_) {
            isWriting_ = true;
            pool_.start([this] { writeAllPending(); });
        }
    }

    void writeAllPending() {
        std::unique_lock lock(mutex_);
        while (pending_) {
            const auto encode = std::exchange(pending_, nullptr);
            lock.unlock();
            const bool isWritten = write(encode);
            lock.lock();
            if (!isWritten && !pending_) {
                failed_ = encode;
            }
        }
        isWriting_ = false;
        idle_.notify_all();
    }

    bool write(const std::function<QByteArray()>& encode) {
        try {
            const QByteArray bytes = encode();
            const QByteArray digest = digestOf(bytes);
            if (digest == contents_) {
                return true;
            }
            keepCopyIfDamaged();
            makeFolders(url_.deletingLastPathComponent());
            writeFileAtomically(url_, bytes);
            contents_ = digest;
            return true;
        } catch (const std::exception& error) {
            qWarning("%s could not be written: %s", url_.path().constData(), error.what());
            return false;
        }
    }

    // Once, however often the writing after it fails.
    void keepCopyIfDamaged() {
        std::unique_lock lock(mutex_);
        if (isDamaged_) {
            lock.unlock();
            keepDamagedCopy(url_);
            lock.lock();
            isDamaged_ = false;
        }
    }

    const FileUrl url_;
    QByteArray contents_;  // digest of what was read or written last; the writing thread's alone
    mutable std::mutex mutex_;
    std::condition_variable idle_;
    std::function<QByteArray()> pending_;
    std::function<QByteArray()> failed_;
    bool isWriting_ = false;
    bool isDamaged_ = false;
    QThreadPool pool_;
};

StoreFile::StoreFile(FileUrl url) : impl_(std::make_unique<Impl>(std::move(url))) {}

StoreFile::~StoreFile() {
    impl_->flush();
}

const FileUrl& StoreFile::url() const {
    return impl_->url();
}

void StoreFile::read(const std::function<void(const QByteArray&)>& decode) {
    impl_->read(decode);
}

void StoreFile::save(std::function<QByteArray()> encode) {
    impl_->save(std::move(encode));
}

bool StoreFile::flush() {
    return impl_->flush();
}

bool StoreFile::isUpToDate() const {
    return impl_->isUpToDate();
}

}  // namespace halvenor
