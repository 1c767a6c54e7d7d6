#include "platform/audio/PlaybackClock.h"

#include <algorithm>

namespace halvenor {

namespace {

int64_t nanosecondsOf(PlaybackClock::Time time) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
}

}  // namespace

template <class Change>
void PlaybackClock::write(Change change) {
    sequence_.fetch_add(1);
    change();
    sequence_.fetch_add(1);
}

void PlaybackClock::reset(int sampleRate) {
    write([&] {
        rate_ = sampleRate;
        isRunning_ = false;
        given_ = 0;
        base_ = 0;
        floor_ = 0;
    });
}

void PlaybackClock::setGiven(int64_t frames) {
    write([&] { given_ = frames; });
}

void PlaybackClock::run(int64_t heardFrames, Time now) {
    const int64_t shown = heard(now);
    write([&] {
        floor_ = shown;
        base_ = heardFrames;
        time_ = nanosecondsOf(now);
        isRunning_ = true;
    });
}

void PlaybackClock::stand(Time now) {
    const int64_t shown = heard(now);
    write([&] {
        floor_ = shown;
        base_ = shown;
        isRunning_ = false;
    });
}

int64_t PlaybackClock::heard(Time now) const {
    while (true) {
        const uint32_t before = sequence_;
        int64_t frames = base_;
        if (isRunning_) {
            const double seconds = static_cast<double>(nanosecondsOf(now) - time_) * 1e-9;
            frames += static_cast<int64_t>(seconds * rate_);
        }
        frames = std::min(std::max<int64_t>(frames, floor_), given_.load());
        if (before % 2 == 0 && sequence_ == before) {
            return frames;
        }
    }
}

}  // namespace halvenor
