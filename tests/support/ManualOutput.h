#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "platform/audio/AudioOutput.h"

namespace halvenor::test {

/// An output pulled by hand, with a clock moved by hand: frames go from the source into the device
/// (pull), wait there, and are heard (hear). What was heard is kept for comparison.
///
/// One thread, but for framesHeard() and wake(). Between two pulls a test lets the node catch up
/// with PlayerNode::waitUntilIdle(); no time passes but by these calls.
class ManualOutput : public AudioOutput {
  public:
    explicit ManualOutput(AudioFormat format = {44100, 2}) : format_(format) {}

    // AudioOutput
    AudioFormat open() override;
    void close() override;
    bool isOpen() const override { return isOpen_; }
    void setSource(std::shared_ptr<RenderSource> source) override;
    void resume() override;
    void suspend() override;
    void rerender() override;
    void wake() override { ++wakeCount; }
    int64_t framesHeard() const override { return heardCount_; }

    /// Takes up to `frames` frames into the device. @return frames taken; 0 while suspended
    int64_t pull(int64_t frames);
    /// Lets `frames` frames (or those that there are) of the device be heard. @return how many
    int64_t hear(int64_t frames);
    /// Pulls and hears, leaving what was in the device before in front.
    int64_t play(int64_t frames) {
        pull(frames);
        return hear(frames);
    }
    /// The server dies: frames in the device are gone, and the source is asked to give them again.
    void loseDevice();

    /// Frames in the device.
    int64_t framesWaiting() const;
    /// Every sample heard since open(), across sources.
    const std::vector<float>& heard() const { return heard_; }
    AudioFormat format() const { return format_; }
    /// The format that the next open() gives.
    void setFormat(AudioFormat format) { format_ = format; }

    /// open() throws an Error (unavailable) with this text while it is not empty.
    std::string openFailure;
    int openCount = 0;
    int setSourceCount = 0;
    int resumeCount = 0;
    int suspendCount = 0;
    int rerenderCount = 0;
    std::atomic<int> wakeCount = 0;
    bool isRunning = false;

  private:
    AudioFormat format_;
    bool isOpen_ = false;
    std::shared_ptr<RenderSource> source_;
    std::deque<float> device_;
    std::vector<float> heard_;
    std::atomic<int64_t> heardCount_ = 0;
};

}  // namespace halvenor::test
