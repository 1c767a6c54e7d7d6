#include <algorithm>
#include <sstream>

#include "support/SoundServer.h"

namespace halvenor::test {

namespace {

/// Frames of one sound, by number.
class Frames {
  public:
    Frames(const std::vector<float>& samples, int channels)
        : samples_(samples.data()),
          channels_(channels),
          count_(static_cast<int64_t>(samples.size()) / channels) {}

    int64_t count() const { return count_; }
    const float* at(int64_t frame) const { return samples_ + frame * channels_; }
    bool isSilent(int64_t frame) const {
        return std::all_of(at(frame), at(frame) + channels_, [](float s) { return s == 0; });
    }
    /// Whether `length` frames (or those up to either end) are the same.
    bool isSame(int64_t frame, const Frames& other, int64_t otherFrame, int64_t length) const {
        length = std::min({length, count_ - frame, other.count_ - otherFrame});
        return std::equal(at(frame), at(frame) + length * channels_, other.at(otherFrame));
    }

  private:
    const float* samples_;
    int channels_;
    int64_t count_;
};

/// So many frames in a row say that it is the same place, and not chance.
constexpr int64_t certainty = 16;

}  // namespace

int64_t leadInOf(const std::vector<float>& recording, int channels) {
    const auto sound =
        std::find_if(recording.begin(), recording.end(), [](float s) { return s != 0; });
    return sound == recording.end() ? -1 : (sound - recording.begin()) / channels;
}

Comparison compare(const std::vector<float>& expected, const std::vector<float>& recording,
                   int channels) {
    const Frames source(expected, channels);
    const Frames record(recording, channels);
    Comparison result;
    result.leadIn = leadInOf(recording, channels);
    int64_t r = std::max<int64_t>(result.leadIn, 0);
    int64_t s = 0;
    while (r < record.count() && result.changed < 100) {
        if (s < source.count() && record.isSame(r, source, s, 1)) {
            ++result.matched;
            ++s;
            ++r;
            continue;
        }
        if (s == source.count()) {
            result.excess += record.isSilent(r) ? 0 : 1;
            ++r;
            continue;
        }
        if (result.firstMismatch < 0) {
            result.firstMismatch = s;
        }
        if (record.isSilent(r)) {
            ++result.gaps;
            while (r < record.count() && record.isSilent(r)) {
                ++r;
                ++result.insertedZeros;
            }
            continue;
        }
        // Somewhere else in the source, after or before?
        int64_t found = -1;
        for (int64_t at = 0; at < source.count() && found < 0; ++at) {
            if (at != s && record.isSame(r, source, at, certainty)) {
                found = at;
            }
        }
        if (found < 0) {
            ++result.changed;
            ++s;
            ++r;
        } else {
            (found > s ? result.lost : result.repeated) += std::abs(found - s);
            s = found;
        }
    }
    if (s < source.count()) {
        result.lost += source.count() - s;
        result.firstMismatch = result.firstMismatch < 0 ? s : result.firstMismatch;
    }
    return result;
}

std::string Comparison::text() const {
    std::ostringstream out;
    out << "lead-in " << leadIn << ", matched " << matched << ", first mismatch at "
        << firstMismatch << ", " << gaps << " gaps of " << insertedZeros << " frames, lost " << lost
        << ", repeated " << repeated << ", changed " << changed << ", excess " << excess;
    return out.str();
}

}  // namespace halvenor::test
