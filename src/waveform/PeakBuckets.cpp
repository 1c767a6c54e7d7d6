#include "waveform/PeakBuckets.h"

#include <algorithm>
#include <cmath>

namespace halvenor {

namespace {

/// Frames whose levels are worked out before any two are compared: two plain loops, each of which
/// the compiler turns into vector instructions.
constexpr int64_t tileFrames = 256;
/// Levels are compared side by side in so many lanes. That changes no value: the sum of a frame is
/// added up in one order everywhere.
constexpr int64_t lanes = 8;

/// Absolute values of a frame's samples, added up; the level times the number of channels.
float sumOf(const float* frame, int channels) {
    float sum = std::abs(frame[0]);
    for (int channel = 1; channel < channels; ++channel) {
        sum += std::abs(frame[channel]);
    }
    return sum;
}

/// False too where `sum` is no number.
float higher(float sum, float best) {
    return sum > best ? sum : best;
}

template <int channels>
float highestSumOfTiles(const float* samples, int64_t tiles) {
    float best[lanes] = {};
    float sums[tileFrames];
    for (; tiles > 0; --tiles, samples += tileFrames * channels) {
        for (int64_t i = 0; i < tileFrames; ++i) {
            sums[i] = sumOf(samples + i * channels, channels);
        }
        for (int64_t i = 0; i < tileFrames; i += lanes) {
            for (int64_t lane = 0; lane < lanes; ++lane) {
                best[lane] = higher(sums[i + lane], best[lane]);
            }
        }
    }
    return *std::max_element(best, best + lanes);
}

/// One frame after another, infinite ones left out.
float highestFiniteSum(const float* samples, int64_t frames, int channels) {
    float best = 0;
    for (; frames > 0; --frames, samples += channels) {
        const float sum = sumOf(samples, channels);
        best = std::isfinite(sum) ? higher(sum, best) : best;
    }
    return best;
}

float highestSum(const float* samples, int64_t frames, int channels) {
    const int64_t tiles = channels <= 2 ? frames / tileFrames : 0;
    const float best =
        channels == 1 ? highestSumOfTiles<1>(samples, tiles) : highestSumOfTiles<2>(samples, tiles);
    if (!std::isfinite(best)) {
        return highestFiniteSum(samples, frames, channels);
    }
    const int64_t done = tiles * tileFrames;
    return std::max(best, highestFiniteSum(samples + done * channels, frames - done, channels));
}

}  // namespace

PeakBuckets::PeakBuckets(int count, int64_t length)
    : levels_(static_cast<size_t>(count)), framesPerBucket_(std::max<int64_t>(length / count, 1)) {}

void PeakBuckets::add(const float* samples, int64_t first, int64_t frames, int channels) {
    const auto last = static_cast<int64_t>(levels_.size()) - 1;
    while (frames > 0) {
        const int64_t bucket = std::min(first / framesPerBucket_, last);
        const int64_t part =
            bucket == last ? frames : std::min(frames, (bucket + 1) * framesPerBucket_ - first);
        float& level = levels_[static_cast<size_t>(bucket)];
        level = std::max(level, highestSum(samples, part, channels) / static_cast<float>(channels));
        samples += part * channels;
        first += part;
        frames -= part;
    }
}

void PeakBuckets::merge(const PeakBuckets& other) {
    std::transform(levels_.begin(), levels_.end(), other.levels_.begin(), levels_.begin(),
                   [](float a, float b) { return std::max(a, b); });
}

QList<float> PeakBuckets::shares() const {
    const float loudest = *std::max_element(levels_.begin(), levels_.end());
    const float scale = loudest > 0 ? 1 / loudest : 1;
    QList<float> result;
    result.reserve(static_cast<qsizetype>(levels_.size()));
    for (const float level : levels_) {
        result.append(std::clamp(level * scale, floor, 1.0F));
    }
    return result;
}

}  // namespace halvenor
