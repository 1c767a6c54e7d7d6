#pragma once

#include <array>
#include <cstdint>

namespace halvenor {

/// The volume as a function of the frame number, with a straight ramp at every change.
///
/// It remembers its latest ramps, so that frames rendered a second time meet the gain that the
/// frames before them, already heard, ended with: no click however often the volume changes.
/// Output's thread; nothing allocates.
class GainCurve {
  public:
    /// @param rampFrames how long a change takes, at least 1
    GainCurve(float gain, int64_t rampFrames);

    /// Scales `frames` interleaved frames, the first of which is number `first`, while moving
    /// towards `target`. Samples are not touched where the gain is exactly 1.
    void apply(float* samples, int64_t first, int64_t frames, int channels, float target);
    /// Frames from `frame` on will be rendered again: forgets the ramps that began there or later.
    void rewind(int64_t frame);

    float gainAt(int64_t frame) const;

  private:
    struct Ramp {
        int64_t start;
        float from;
        float to;
    };
    float gainOf(const Ramp& ramp, int64_t frame) const;
    void push(Ramp ramp);

    /// Ordered by start; the first stands for all time before the second. At 64 changes within the
    /// history (seconds) the oldest is forgotten, which nobody hears.
    std::array<Ramp, 64> ramps_;
    int count_ = 1;
    int64_t rampFrames_;
};

}  // namespace halvenor
