#pragma once

#include <atomic>
#include <vector>

#include "platform/audio/AudioOutput.h"

namespace halvenor::bench {

/// An output without a clock: what is taken from the source counts as heard at once. Main thread,
/// but for wake() and framesHeard().
class DrainingOutput : public AudioOutput {
  public:
    AudioFormat open() override;
    void close() override;
    bool isOpen() const override { return isOpen_; }
    void setSource(std::shared_ptr<RenderSource> source) override;
    void resume() override { isRunning_ = true; }
    void suspend() override { isRunning_ = false; }
    void rerender() override {}
    void wake() override {}
    int64_t framesHeard() const override { return heard_; }

    /// Takes up to `frames` frames. @return frames taken
    int64_t drain(int64_t frames);
    /// Frames taken since the beginning, whatever the source.
    int64_t drained() const { return drained_; }

    static constexpr AudioFormat format{44100, 2};

  private:
    bool isOpen_ = false;
    bool isRunning_ = false;
    std::shared_ptr<RenderSource> source_;
    std::vector<float> scratch_;
    std::atomic<int64_t> heard_ = 0;
    int64_t drained_ = 0;
};

}  // namespace halvenor::bench
