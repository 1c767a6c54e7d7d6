#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>

#include "base/FileUrl.h"

/// What AudioEngineManager decides, apart from what it does: plain values in, plain values out.
/// Times are seconds, lengths are frames of the file, rates are frames per second. Any thread.
namespace halvenor {

/// The length of a file as it was opened; `fallback` (the tags' figure, held at 0 or above) only
/// where frames and rate give no finite length above 0.
double measuredDuration(int64_t frames, double rate, double fallback);

/// Where a load begins: a place at or past the end is the beginning, one before it as well.
double loadPosition(double requested, double duration);

/// Where a seek lands: within 0...duration.
double seekPosition(double requested, double duration);

/// The frame of the file from which `position` is played, truncated towards its beginning. Absent:
/// the whole file. A position past the last frame gives that last frame, so that something is
/// played, and ends, and says so.
std::optional<int64_t> startFrameAt(double position, int64_t fileFrames, double rate);

/// A frame count that reaches to the end of any file. What is played ends where the file ends: the
/// length of one that tells no exact length is an estimate, and would cut off the music.
inline constexpr int64_t toTheEnd = std::numeric_limits<int64_t>::max();

/// The place in the track when the player, which stood at `startSample` when the track stood at
/// `basePosition`, has come to `sample`. Samples count in the output's rate, which is above 0.
double positionAt(double basePosition, int64_t startSample, int64_t sample, double rate,
                  double duration);

/// What a schedule needs when its owner says which track must follow.
enum class NextTrackStep {
    nothing,        ///< It is so already, or nothing is loaded.
    refreshRecord,  ///< The same audio is queued; only its record may be newer.
    append,         ///< Nothing is queued: it goes behind what sounds.
    rebuild,        ///< What is queued must go, and a player takes nothing back by itself.
};

/// @param scheduled entries in the schedule, the sounding one included
/// @param queued the file queued behind it
/// @param next the file that must follow; absent for none
NextTrackStep nextTrackStep(size_t scheduled, const std::optional<FileUrl>& queued,
                            const std::optional<FileUrl>& next);

}  // namespace halvenor
