#include "platform/settings/SettingsFile.h"

#include <cerrno>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "base/AtomicFile.h"
#include "base/Error.h"

namespace halvenor::settings {

namespace {

// Our own values nest three deep. The JSON library writes and compares values recursively, so what
// is far deeper must not get in.
constexpr int deepestNesting = 64;

class TooDeep : public std::runtime_error {
  public:
    TooDeep() : std::runtime_error("nested too deeply") {}
};

Values parsed(const QByteArray& text) {
    const auto refuseDepth = [](int depth, Json::parse_event_t, Json&) {
        if (depth > deepestNesting) {
            throw TooDeep();
        }
        return true;
    };
    Json root = Json::parse(text.begin(), text.end(), refuseDepth);
    if (!root.is_object()) {
        throw std::runtime_error("not an object");
    }
    return std::move(root.get_ref<Values&>());
}

bool isMissing(const FileUrl& file) {
    struct stat status = {};
    return ::lstat(file.path().constData(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

bool isFolder(const QByteArray& path) {
    struct stat status = {};
    return ::stat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

void makeFolders(const FileUrl& folder) {
    const QByteArray& path = folder.path();
    if (path.isEmpty() || isFolder(path)) {
        return;
    }
    makeFolders(folder.deletingLastPathComponent());
    if (::mkdir(path.constData(), 0700) != 0 && !isFolder(path)) {
        throw Error::fromErrno(errno);
    }
}

}  // namespace

Contents read(const FileUrl& file) {
    if (isMissing(file)) {
        return {};
    }
    try {
        return {parsed(readFile(file)), false};
    } catch (const std::exception& error) {
        qWarning("The settings in %s can't be read (%s); starting without them",
                 file.path().constData(), error.what());
        return {{}, true};
    }
}

void write(const FileUrl& file, const Values& values) {
    makeFolders(file.deletingLastPathComponent());
    writeFileAtomically(file, QByteArray::fromStdString(Json(values).dump(2) + '\n'));
}

void copyAside(const FileUrl& file) {
    constexpr int mostCopies = 1000;
    for (int number = 1; number <= mostCopies; ++number) {
        const FileUrl copy(file.path() + ".damaged-" + QByteArray::number(number));
        // A second name for the same file loses nothing and needs no room. The file itself is left
        // alone from now on: a new one takes its first name.
        if (::linkat(AT_FDCWD, file.path().constData(), AT_FDCWD, copy.path().constData(),
                     AT_SYMLINK_FOLLOW) == 0) {
            return;
        }
        if (errno != EEXIST) {
            writeFileAtomically(copy, readFile(file));  // No second names here.
            return;
        }
    }
    throw Error::fromErrno(EEXIST);
}

}  // namespace halvenor::settings
