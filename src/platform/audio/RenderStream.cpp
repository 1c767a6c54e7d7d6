#include "platform/audio/RenderStream.h"

#include <algorithm>
#include <cstring>

namespace halvenor {

RenderStream::RenderStream(AudioFormat format, float gain, std::shared_ptr<WakeSignal> refill)
    : format_(format),
      ahead_(int64_t{format.sampleRate} * aheadSeconds),
      history_(int64_t{format.sampleRate} * historySeconds),
      capacity_(ahead_ + history_),
      ring_(std::make_unique_for_overwrite<float[]>(capacity_ * format.channels)),
      refill_(std::move(refill)),
      gain_(gain),
      curve_(gain, rampFrames()) {}

int64_t RenderStream::rampFrames() const {
    return int64_t{format_.sampleRate} * rampMilliseconds / 1000;
}

int64_t RenderStream::copyOut(float* samples, int64_t frames) {
    const int64_t read = read_.load(std::memory_order_relaxed);
    const int64_t count = std::min(frames, written_.load() - read);
    if (count <= 0) {
        return 0;
    }
    const int64_t at = read % capacity_;
    const int64_t beforeWrap = std::min(count, capacity_ - at);
    const int channels = format_.channels;
    std::memcpy(samples, ring_.get() + at * channels, beforeWrap * channels * sizeof(float));
    std::memcpy(samples + beforeWrap * channels, ring_.get(),
                (count - beforeWrap) * channels * sizeof(float));
    const float gain = gain_.load(std::memory_order_relaxed);
    if (read == 0) {
        // Nothing comes before, so there is nothing to move away from: a track that was loaded
        // before the sound was muted begins muted.
        curve_ = GainCurve(gain, rampFrames());
    }
    curve_.apply(samples, read, count, channels, gain);
    read_.store(read + count, std::memory_order_release);
    if (read + count > highWater_.load(std::memory_order_relaxed)) {
        highWater_.store(read + count, std::memory_order_release);
    }
    return count;
}

int64_t RenderStream::render(float* samples, int64_t frames) {
    int64_t given = copyOut(samples, frames);
    if (given < frames) {
        // The flag first, then another look: frames published in between are either seen here, or
        // their writer sees the flag.
        isStarved_.store(true);
        given += copyOut(samples + given * format_.channels, frames - given);
    }
    if (isLow() && !isRefillAsked_.exchange(true)) {
        refill_->signal();
    }
    return given;
}

int64_t RenderStream::rewind(int64_t frames) {
    const int64_t read = read_.load(std::memory_order_relaxed);
    const int64_t oldest =
        std::max<int64_t>(0, highWater_.load(std::memory_order_relaxed) - history_);
    const int64_t count = std::clamp<int64_t>(frames, 0, read - oldest);
    curve_.rewind(read - count);
    read_.store(read - count, std::memory_order_release);
    return count;
}

RenderStream::Room RenderStream::room() const {
    const int64_t written = written_.load(std::memory_order_relaxed);
    const int64_t free = highWater_.load(std::memory_order_acquire) + ahead_ - written;
    const int64_t at = written % capacity_;
    return {ring_.get() + at * format_.channels, std::min(free, capacity_ - at)};
}

void RenderStream::publish(int64_t frames) {
    written_.store(written_.load(std::memory_order_relaxed) + frames);
}

int64_t RenderStream::level() const {
    return written_.load() - read_.load(std::memory_order_acquire);
}

}  // namespace halvenor
