#include "playback/PlaybackFile.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace halvenor {

PlaybackFile openForPlayback(const FileUrl& url, const FileOpener& open) {
    const FileUrl place = url.standardized();
    try {
        return PlaybackFile{open(place), std::nullopt};
    } catch (...) {
        if (!isMP4Container(place)) {
            throw;
        }
    }
    PlaybackAlias alias(place);
    auto file = open(alias.url());
    return PlaybackFile{std::move(file), std::move(alias)};
}

bool isMP4Container(const FileUrl& url) {
    // Without O_NONBLOCK a named pipe would hold the caller until somebody writes to it.
    const int file = ::open(url.path().constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) {
        return false;
    }
    std::array<char, 12> head{};
    ssize_t size = 0;
    do {
        size = ::read(file, head.data(), head.size());
    } while (size < 0 && errno == EINTR);
    ::close(file);
    return size >= 8 && QByteArrayView(head.data() + 4, 4) == "ftyp";
}

}  // namespace halvenor
