#include "waveform/WaveformExtractor.h"

#include <QThread>

#include <algorithm>
#include <cmath>
#include <optional>

#include "platform/threads/BackgroundThread.h"
#include "waveform/PeakDecoding.h"

namespace halvenor {

namespace {

/// Beyond a few threads the disk and the memory are what is waited for.
constexpr int mostThreads = 4;

QByteArray cacheKey(const FileUrl& url, int count) {
    return url.path() + '_' + QByteArray::number(count);
}

/// What stands for a file that can't be read: a gentle wave.
QList<float> fallbackPeaks(int count) {
    QList<float> peaks;
    for (int i = 0; i < count; ++i) {
        peaks.append(static_cast<float>(std::clamp(std::sin(i * 0.2) * 0.4 + 0.5, 0.1, 1.0)));
    }
    return peaks;
}

}  // namespace

WaveformExtractor& WaveformExtractor::shared() {
    return applicationOwned<WaveformExtractor>();
}

Task<QList<float>> WaveformExtractor::extractPeaks(FileUrl url, int count, std::stop_token token) {
    const QByteArray key = cacheKey(url, count);
    if (const auto known = cache_.constFind(key); known != cache_.constEnd()) {
        co_return QList<float>(*known);
    }
    auto job = service_.run(
        [place = url.standardized(), count](const std::stop_token& stop) {
            enterBackground();
            const int threads = std::clamp(QThread::idealThreadCount(), 1, mostThreads);
            return count < 1
                       ? std::nullopt
                       : decodePeaks([&] { return AudioFile::open(place); }, count, threads, stop);
        },
        token);
    const std::optional<QList<float>> peaks = co_await job;
    if (!peaks) {
        co_return fallbackPeaks(count);
    }
    cache_.insert(key, *peaks);
    co_return QList<float>(*peaks);
}

}  // namespace halvenor
