#include "platform/audio/GainCurve.h"

#include <algorithm>
#include <limits>

namespace halvenor {

namespace {

void scale(float* samples, int64_t count, float gain) {
    if (gain == 1.0F) {
        return;
    }
    for (int64_t i = 0; i < count; ++i) {
        samples[i] *= gain;
    }
}

}  // namespace

GainCurve::GainCurve(float gain, int64_t rampFrames)
    : rampFrames_(std::max<int64_t>(rampFrames, 1)) {
    ramps_[0] = {std::numeric_limits<int64_t>::min() / 2, gain, gain};
}

float GainCurve::gainOf(const Ramp& ramp, int64_t frame) const {
    const int64_t into = frame - ramp.start;
    if (into >= rampFrames_) {
        return ramp.to;
    }
    if (into <= 0) {
        return ramp.from;
    }
    return ramp.from +
           (ramp.to - ramp.from) * static_cast<float>(into) / static_cast<float>(rampFrames_);
}

float GainCurve::gainAt(int64_t frame) const {
    int i = count_ - 1;
    while (i > 0 && ramps_[i].start > frame) {
        --i;
    }
    return gainOf(ramps_[i], frame);
}

void GainCurve::push(Ramp ramp) {
    if (count_ == static_cast<int>(ramps_.size())) {
        std::move(ramps_.begin() + 1, ramps_.end(), ramps_.begin());
        --count_;
    }
    ramps_[count_++] = ramp;
}

void GainCurve::rewind(int64_t frame) {
    while (count_ > 1 && ramps_[count_ - 1].start >= frame) {
        --count_;
    }
}

void GainCurve::apply(float* samples, int64_t first, int64_t frames, int channels, float target) {
    if (ramps_[count_ - 1].to != target) {
        push({first, gainAt(first), target});
    }
    const Ramp ramp = ramps_[count_ - 1];
    const int64_t rampEnd = ramp.start + rampFrames_;
    int64_t frame = first;
    const int64_t end = first + frames;
    for (; frame < std::min(rampEnd, end); ++frame) {
        scale(samples, channels, gainOf(ramp, frame));
        samples += channels;
    }
    scale(samples, (end - frame) * channels, ramp.to);
}

}  // namespace halvenor
