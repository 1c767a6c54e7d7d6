#pragma once

#include <cmath>
#include <cstdint>

namespace halvenor {

/// Where source frames of changing rates fall on the output's frame count.
///
/// Every place is computed from the exact sum of what came before it, whole frames and fraction
/// apart, so that rounding never adds up: a join stands at the output frame nearest to its true
/// time, however many joins there were.
class OutputTimeline {
  public:
    /// @param origin the output frame at which the first source frame stands
    explicit OutputTimeline(int outputRate, int64_t origin = 0)
        : outputRate_(outputRate), sourceRate_(outputRate), whole_(origin) {}

    /// The frames that follow have this rate.
    void setSourceRate(int rate) {
        const int64_t scaled = sourceFrames_ * outputRate_;
        whole_ += scaled / sourceRate_;
        fraction_ += static_cast<double>(scaled % sourceRate_) / sourceRate_;
        const double carried = std::floor(fraction_);
        whole_ += static_cast<int64_t>(carried);
        fraction_ -= carried;
        sourceFrames_ = 0;
        sourceRate_ = rate;
    }
    void advance(int64_t sourceFrames) { sourceFrames_ += sourceFrames; }

    /// The output frame nearest to the present place.
    int64_t position() const {
        const int64_t scaled = sourceFrames_ * outputRate_;
        const double rest = static_cast<double>(scaled % sourceRate_) / sourceRate_;
        return whole_ + scaled / sourceRate_ + std::llround(fraction_ + rest);
    }

  private:
    int outputRate_;
    int sourceRate_;
    int64_t whole_;
    double fraction_ = 0;
    int64_t sourceFrames_ = 0;
};

}  // namespace halvenor
