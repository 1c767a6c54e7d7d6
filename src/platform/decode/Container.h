#pragma once

#include "platform/decode/ByteSource.h"

namespace halvenor {

/// The file formats that can be read.
enum class Container { mpegAudio, adts, mp4, flac, wave, aiff, ogg };

/// What the first bytes of a file tell.
struct Sniffed {
    Container container;
    /// Where the container begins, or, for bare frames, the first frame: past ID3v2 tags and junk.
    int64_t begin = 0;
};

/// Tells the container from content alone. Bare frames (MP3, ADTS) have no signature: they are
/// believed when several headers follow one another at the distances that they tell themselves.
/// @throws Error (format) when nothing is recognised
Sniffed sniffContainer(ByteSource& bytes);

/// Where the audio ends: before ID3v1, APEv2, Lyrics3 and appended ID3v2 tags at the end.
int64_t endBeforeTags(ByteSource& bytes);

/// What a container that is none of the above is told: the one sentence for it.
[[noreturn]] void throwNotAudio(int64_t offset);

}  // namespace halvenor
