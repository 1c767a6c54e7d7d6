#pragma once

#include <atomic>
#include <memory>

#include "platform/audio/AudioOutput.h"
#include "platform/audio/GainCurve.h"
#include "platform/audio/WakeSignal.h"

namespace halvenor {

/// The frames on their way from the decode thread to the output, from one stop of the node to the
/// next: a ring with one writer and one reader that share atomics alone.
///
/// Frame numbers count from the stream's first frame. Behind the read position the ring keeps
/// `history` frames, unscaled, so that the output can have them again (rewind): a change of volume
/// or a lost server costs no decoding. The volume is applied on the way out.
class RenderStream : public RenderSource {
  public:
    /// How far the ring reaches ahead of and behind the read position, in seconds. The history
    /// covers what a sound server may hold: its stream buffer and the device's.
    static constexpr int aheadSeconds = 4;
    static constexpr int historySeconds = 4;
    /// A change of volume takes this long.
    static constexpr int rampMilliseconds = 10;

    /// @param refill signalled when less than half of what the ring may hold ahead is left
    RenderStream(AudioFormat format, float gain, std::shared_ptr<WakeSignal> refill);

    // The output's thread.
    int64_t render(float* samples, int64_t frames) override;
    int64_t rewind(int64_t frames) override;

    // Any thread.
    /// The volume of the frames rendered from now on. No ramp precedes the stream's first frame.
    void setGain(float gain) { gain_.store(gain, std::memory_order_relaxed); }

    // The decode thread.
    struct Room {
        float* samples;
        int64_t frames;
    };
    /// Where the next frames go: one contiguous piece of what is free, empty when the ring is full.
    Room room() const;
    /// Hands over the first `frames` frames of room().
    void publish(int64_t frames);
    /// Frames published since the beginning: the number of the next one.
    int64_t written() const { return written_.load(std::memory_order_relaxed); }
    /// Frames published and not rendered.
    int64_t level() const;
    /// Whether level() is below half of what the ring may hold.
    bool isLow() const { return level() < ahead_ / 2; }
    /// Asks for one signal when the ring runs low. To be followed by a look at isLow().
    void armRefill() { isRefillAsked_.store(false); }
    /// Whether render() came up short since the last call, so that the output must be woken.
    bool takeStarved() { return isStarved_.exchange(false); }

  private:
    int64_t copyOut(float* samples, int64_t frames);
    int64_t rampFrames() const;

    const AudioFormat format_;
    const int64_t ahead_;
    const int64_t history_;
    const int64_t capacity_;
    const std::unique_ptr<float[]> ring_;
    const std::shared_ptr<WakeSignal> refill_;

    std::atomic<int64_t> written_ = 0;
    std::atomic<int64_t> read_ = 0;
    /// The highest read_ ever: what lies more than the history behind it may be overwritten.
    std::atomic<int64_t> highWater_ = 0;
    std::atomic<float> gain_;
    std::atomic<bool> isStarved_ = false;
    std::atomic<bool> isRefillAsked_ = false;
    GainCurve curve_;
};

}  // namespace halvenor
