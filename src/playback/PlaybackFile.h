#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "platform/decode/AudioFile.h"
#include "playback/PlaybackAlias.h"

namespace halvenor {

/// How files are opened for reading; throws what it fails with.
using FileOpener = std::function<std::shared_ptr<AudioFile>(const FileUrl&)>;

/// A file that is open for playing.
struct PlaybackFile {
    std::shared_ptr<AudioFile> file;
    /// The name that it had to be opened under, where its own would not do.
    std::optional<PlaybackAlias> alias;
};

/// Opens the file at `url`, standardised. An MP4 container that is refused under its own name is
/// offered once more under an alias that ends in ".m4a"; other files never get one.
/// @throws what the opener throws, the second time where there was one; Error (io) when the alias
/// can't be made
PlaybackFile openForPlayback(const FileUrl& url, const FileOpener& open);

/// Whether the content of the file begins as that of an MP4 container does ("ftyp" at byte 4,
/// ISO 14496-12). A file that can't be read is none.
bool isMP4Container(const FileUrl& url);

}  // namespace halvenor
