#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/decode/AudioFormat.h"

namespace halvenor {

/// Turns frames of one format into another's: channels first, then the rate.
///
/// One channel becomes all of the front pair unchanged; fewer channels than the output has go to
/// their places; more are mixed down, never above full scale. The rate is changed by soxr (20 bits,
/// linear phase) without delay: the first frame out stands where the first frame in stood. One
/// thread at a time.
class FormatConverter {
  public:
    /// @throws Error (unsupported) when the formats can't be converted
    FormatConverter(AudioFormat from, AudioFormat to);
    ~FormatConverter();

    /// Whether frames come out a while after they went in, so that drain() has some left.
    bool isResampling() const { return resampler_ != nullptr; }

    /// Converts `frames` frames and appends what comes out to `output`. The same samples come out
    /// however the input is cut into calls.
    void convert(const float* samples, int64_t frames, std::vector<float>& output);
    /// Appends what is still inside. Nothing can be converted afterwards.
    void drain(std::vector<float>& output);

  private:
    class Resampler;
    void mix(const float* samples, int64_t frames, std::vector<float>& output) const;

    AudioFormat from_;
    AudioFormat to_;
    /// to × from factors, empty where channels stay or are only copied.
    std::vector<float> matrix_;
    std::vector<float> mixed_;
    std::unique_ptr<Resampler> resampler_;
};

}  // namespace halvenor
