#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/decode/AudioFile.h"

namespace halvenor::test {

/// An audio file in memory, of samples that a test knows.
class MemoryFile : public AudioFile {
  public:
    MemoryFile(AudioFormat format, std::vector<float> samples);

    AudioFormat processingFormat() const override { return format_; }
    int64_t length() const override { return claimedLength.value_or(frames()); }
    bool isLengthExact() const override { return !claimedLength; }
    bool isSeekExact() const override { return true; }
    void seek(int64_t frame) override;
    int64_t read(float* samples, int64_t frames) override;

    int64_t frames() const { return static_cast<int64_t>(samples_.size()) / format_.channels; }
    const std::vector<float>& samples() const { return samples_; }

    /// What length() gives instead of the truth.
    std::optional<int64_t> claimedLength;
    /// read() throws from this frame on.
    std::optional<int64_t> failsAt;
    /// Reads that came; a node that decodes far ahead shows here.
    std::atomic<int64_t> framesRead = 0;

  private:
    AudioFormat format_;
    std::vector<float> samples_;
    int64_t at_ = 0;
};

/// White noise of -6 dB, the same for the same seed: no two places are alike.
std::shared_ptr<MemoryFile> makeNoise(AudioFormat format, int64_t frames, unsigned seed);

/// All samples of files of one format, one behind the other.
std::vector<float> concatenation(const std::vector<std::shared_ptr<MemoryFile>>& files);

}  // namespace halvenor::test
