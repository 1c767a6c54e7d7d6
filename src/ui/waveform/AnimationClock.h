#pragma once

#include <chrono>
#include <optional>

namespace halvenor {

/// The seconds that an animation has run for. It stands while it should not run, and goes on from
/// there without a jump. Pure: the time is handed in.
class AnimationClock {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// Starts or stops it, as it should be from `now` on. Says again what is so already at no harm.
    void update(bool shouldRun, TimePoint now) {
        if (shouldRun && !runningSince_) {
            runningSince_ = now;
        } else if (!shouldRun && runningSince_) {
            accumulatedTime_ += now - *runningSince_;
            runningSince_.reset();
        }
    }
    bool isRunning() const { return runningSince_.has_value(); }
    /// Seconds.
    double elapsed(TimePoint now) const {
        const std::chrono::duration<double> running =
            runningSince_ ? now - *runningSince_ : std::chrono::steady_clock::duration(0);
        return accumulatedTime_.count() + running.count();
    }

  private:
    std::chrono::duration<double> accumulatedTime_{0};
    std::optional<TimePoint> runningSince_;
};

}  // namespace halvenor
