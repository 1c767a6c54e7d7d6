#include "playback/PlaybackAlias.h"

#include <QUuid>

#include <filesystem>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include "base/Error.h"

namespace halvenor {

namespace fs = std::filesystem;

namespace {

fs::path nativePath(const FileUrl& url) {
    return fs::path(url.path().toStdString());
}

void throwIfFailed(const std::error_code& error) {
    if (error) {
        throw Error::fromErrno(error.value());
    }
}

FileUrl freshName() {
    const QByteArray name = QUuid::createUuid().toByteArray(QUuid::WithoutBraces) + ".m4a";
    return PlaybackAlias::directory().appendingPathComponent(name);
}

}  // namespace

PlaybackAlias::PlaybackAlias(const FileUrl& target) : url_(freshName()) {
    std::error_code error;
    fs::create_directories(nativePath(directory()), error);
    throwIfFailed(error);
    fs::create_symlink(nativePath(target), nativePath(url_), error);
    throwIfFailed(error);
}

PlaybackAlias::PlaybackAlias(PlaybackAlias&& other) noexcept
    : url_(std::exchange(other.url_, FileUrl())) {}

PlaybackAlias& PlaybackAlias::operator=(PlaybackAlias&& other) noexcept {
    std::swap(url_, other.url_);  // The other one removes what was ours.
    return *this;
}

PlaybackAlias::~PlaybackAlias() {
    if (!url_.isEmpty()) {
        ::unlink(url_.path().constData());
    }
}

FileUrl PlaybackAlias::directory() {
    const QByteArray temporary = qgetenv("TMPDIR");
    return FileUrl(temporary.isEmpty() ? QByteArray("/tmp") : temporary)
        .appendingPathComponent("HalvenorPlaybackAliases");
}

void PlaybackAlias::removeLeftovers() {
    std::vector<fs::path> leftovers;
    std::error_code error;
    for (fs::directory_iterator entry(nativePath(directory()), error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code unknown;
        if (entry->is_symlink(unknown) && entry->path().extension() == ".m4a") {
            leftovers.push_back(entry->path());
        }
    }
    for (const fs::path& leftover : leftovers) {
        ::unlink(leftover.c_str());
    }
}

}  // namespace halvenor
