#include "support/TemporaryFolder.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sched.h>
#include <stdexcept>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "base/FileDescriptor.h"

namespace halvenor::test {

namespace {

void require(bool isDone, const QByteArray& path) {
    if (!isDone) {
        throw std::runtime_error("cannot make " + path.toStdString());
    }
}

}  // namespace

TemporaryFolder::TemporaryFolder(const QByteArray& parent) {
    QByteArray path = parent + "/halvenor-test-XXXXXX";
    require(::mkdtemp(path.data()) != nullptr, path);
    folder_ = FileUrl(path);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_.path().toStdString(), ignored);
}

FileUrl TemporaryFolder::at(const QByteArray& relative) const {
    return url().appendingPathComponent(relative);
}

FileUrl TemporaryFolder::makeFolder(const QByteArray& relative) const {
    const FileUrl folder = at(relative);
    if (folder == url()) {
        return folder;
    }
    const qsizetype slash = relative.lastIndexOf('/');
    if (slash > 0) {
        makeFolder(relative.left(slash));
    }
    const int result = ::mkdir(folder.path().constData(), 0700);
    require(result == 0 || errno == EEXIST, folder.path());
    return folder;
}

FileUrl TemporaryFolder::makeFile(const QByteArray& relative, const QByteArray& contents) const {
    if (const qsizetype slash = relative.lastIndexOf('/'); slash > 0) {
        makeFolder(relative.left(slash));
    }
    const FileUrl file = at(relative);
    const FileDescriptor descriptor(
        ::open(file.path().constData(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600));
    const ssize_t written =
        ::write(descriptor.get(), contents.constData(), static_cast<size_t>(contents.size()));
    require(written == contents.size(), file.path());
    return file;
}

FileUrl TemporaryFolder::makeLink(const QByteArray& relative, const QByteArray& target) const {
    const FileUrl link = at(relative);
    require(::symlink(target.constData(), link.path().constData()) == 0, link.path());
    return link;
}

Unprivileged::Unprivileged(const TemporaryFolder& folder) : wasRoot_(::geteuid() == 0) {
    constexpr uid_t nobody = 65534;
    if (wasRoot_) {
        require(::chown(folder.url().path().constData(), nobody, nobody) == 0, folder.url().path());
        require(::seteuid(nobody) == 0, "another user");
    }
}

Unprivileged::~Unprivileged() {
    if (wasRoot_ && ::seteuid(0) != 0) {
        std::abort();
    }
}

// In a view of the file system of this thread's own, and of those that it starts from now on.
TinyFileSystem::TinyFileSystem(const FileUrl& folder) : path_(folder.path()) {
    isMounted_ = ::unshare(CLONE_NEWNS) == 0 &&
                 ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                 ::mount("tmpfs", path_.constData(), "tmpfs", 0, "size=256k,mode=700") == 0;
}

TinyFileSystem::~TinyFileSystem() {
    if (isMounted_) {
        ::umount2(path_.constData(), MNT_DETACH);
    }
}

}  // namespace halvenor::test
