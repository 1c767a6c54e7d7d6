#pragma once

#include <QList>

#include <cstdint>
#include <vector>

namespace halvenor {

/// A sound's loudness over time, in a fixed number of buckets.
///
/// A frame's level is the mean of its samples' absolute values; a bucket holds the highest level of
/// its frames. Every bucket but the last has as many frames as the length divided by their number,
/// rounded down (one at the least); the last takes the rest. Levels that are no finite number are
/// left out. One thread at a time.
class PeakBuckets {
  public:
    /// No bucket is lower than this when it is told: silence still shows as a line.
    static constexpr float floor = 0.08F;

    /// @param count how many, above 0
    /// @param length frames of the whole sound
    PeakBuckets(int count, int64_t length);

    /// Takes in `frames` frames from the sound's frame `first` on. Frames may come in any order.
    /// @param samples interleaved
    void add(const float* samples, int64_t first, int64_t frames, int channels);
    /// Takes in what `other`, of the same shape, has seen.
    void merge(const PeakBuckets& other);

    /// The buckets as shares of the loudest, which is 1, held within floor...1. All are the floor
    /// when nothing was louder than 0.
    QList<float> shares() const;

  private:
    std::vector<float> levels_;
    int64_t framesPerBucket_;
};

}  // namespace halvenor
