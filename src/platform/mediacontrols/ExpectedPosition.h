#pragma once

#include <chrono>

namespace halvenor {

/// The position that a remote display shows by itself between two notices: it runs on while the
/// player plays and stands while it does not. So a player need only tell of jumps. Seconds
/// throughout; any thread, one at a time.
class ExpectedPosition {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// What displays know from now on.
    void settle(double position, bool isRunning, TimePoint now);
    /// Whether a player that is at `actual` has jumped. While it runs, half a second of difference
    /// is none: positions are read in steps, and a sound server takes a moment to start.
    bool isJump(double actual, TimePoint now) const;

  private:
    double position_ = 0;
    bool isRunning_ = false;
    TimePoint since_;
};

}  // namespace halvenor
