#pragma once

#include <cstddef>
#include <cstdint>
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

/// Which frames of a file are to be played.
struct FileSegment {
    int64_t startFrame = 0;
    int64_t frameCount = 0;

    bool operator==(const FileSegment&) const = default;
};

/// The most frames that one segment may have.
inline constexpr int64_t kMaximumSegmentFrames = 4294967295;

/// What to play from `position` on. Absent: the file from its first frame to its end. A position
/// past the last frame gives that last frame alone, so that the file still ends and says so.
std::optional<FileSegment> segmentFrom(double position, int64_t fileFrames, double rate);

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
