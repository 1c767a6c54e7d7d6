#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace halvenor {

/// How many frames of a source have been heard, read at any moment by any thread without waiting.
///
/// Its owner (one thread at a time) tells it now and then what was heard when; in between it runs
/// on by the monotonic clock. It never passes what was given and never goes back, unless it is
/// reset. Behind it is a sequence lock: writers are rare and short, readers try again.
class PlaybackClock {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// Nothing given, nothing heard, standing still.
    void reset(int sampleRate);
    /// Frames given by the source so far, less those taken back.
    void setGiven(int64_t frames);
    /// At `now` frame `heard` was being heard, and sound goes on. A value behind what the clock
    /// shows makes it stand until the truth has caught up.
    void run(int64_t heard, Time now);
    /// Stands still at what it shows at `now`.
    void stand(Time now);

    bool isRunning() const { return isRunning_.load(); }
    int64_t heard(Time now = std::chrono::steady_clock::now()) const;

  private:
    template <class Change>
    void write(Change change);

    std::atomic<uint32_t> sequence_ = 0;
    std::atomic<int> rate_ = 0;
    std::atomic<bool> isRunning_ = false;
    std::atomic<int64_t> given_ = 0;
    /// Frames heard at time_, and the least to show whatever that gives.
    std::atomic<int64_t> base_ = 0;
    std::atomic<int64_t> floor_ = 0;
    std::atomic<int64_t> time_ = 0;  ///< nanoseconds of the steady clock
};

}  // namespace halvenor
