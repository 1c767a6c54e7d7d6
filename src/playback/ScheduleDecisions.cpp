#include "playback/ScheduleDecisions.h"

#include <algorithm>
#include <cmath>

namespace halvenor {

namespace {

// Also 0 for what is no number, which every comparison with it refuses.
double notBelowZero(double value) {
    return value > 0 ? value : 0;
}

}  // namespace

double measuredDuration(int64_t frames, double rate, double fallback) {
    if (!(rate > 0)) {
        return notBelowZero(fallback);
    }
    const double seconds = static_cast<double>(frames) / rate;
    return std::isfinite(seconds) && seconds > 0 ? seconds : notBelowZero(fallback);
}

double loadPosition(double requested, double duration) {
    const bool isPastEnd = duration > 0 && requested >= duration;
    return isPastEnd ? 0 : seekPosition(requested, duration);
}

double seekPosition(double requested, double duration) {
    return std::min(notBelowZero(duration), notBelowZero(requested));
}

std::optional<int64_t> startFrameAt(double position, int64_t fileFrames, double rate) {
    if (!(position > 0)) {
        return std::nullopt;
    }
    const int64_t lastFrame = std::max<int64_t>(fileFrames - 1, 0);
    // Compared as doubles first: what is far past the end fits no integer.
    const double wanted = position * rate;
    return wanted < static_cast<double>(lastFrame) ? static_cast<int64_t>(wanted) : lastFrame;
}

double positionAt(double basePosition, int64_t startSample, int64_t sample, double rate,
                  double duration) {
    const auto frames = static_cast<double>(std::max<int64_t>(sample - startSample, 0));
    return std::min(basePosition + frames / rate, duration);
}

NextTrackStep nextTrackStep(size_t scheduled, const std::optional<FileUrl>& queued,
                            const std::optional<FileUrl>& next) {
    if (scheduled == 0) {
        return NextTrackStep::nothing;
    }
    const auto standardized = [](const std::optional<FileUrl>& url) {
        return url ? std::optional(url->standardized()) : std::nullopt;
    };
    if (standardized(queued) == standardized(next)) {
        return next ? NextTrackStep::refreshRecord : NextTrackStep::nothing;
    }
    return scheduled == 1 && next ? NextTrackStep::append : NextTrackStep::rebuild;
}

}  // namespace halvenor
