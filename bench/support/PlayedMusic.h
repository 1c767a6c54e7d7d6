#pragma once

#include "base/FileUrl.h"

namespace halvenor::bench {

/// What this process has used so far.
struct Usage {
    double seconds = 0;  ///< of processor, user and system
    long switches = 0;   ///< times that a thread of it gave up the processor to wait
};
Usage usedSoFar();

enum class MusicKind { flac, mp3 };

/// Writes "music.flac" (16 bits) or "music.mp3" into `folder`: 44.1 kHz stereo, tones and noise,
/// which compress about as music does.
FileUrl writeMusic(const FileUrl& folder, int seconds, MusicKind kind = MusicKind::flac);

/// Seconds of processor that decoding the file once takes at the least: the best of three rounds,
/// after one that loads the decoders.
double secondsToDecode(const FileUrl& file);

}  // namespace halvenor::bench
