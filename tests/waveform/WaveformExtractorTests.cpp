#include <QFile>

#include <cmath>
#include <gmock/gmock.h>

#include "support/EventLoop.h"
#include "support/MediaLibrary.h"
#include "waveform/WaveformExtractor.h"

namespace halvenor::test {

namespace {

QList<float> peaksOf(const FileUrl& url, int count) {
    return runToCompletion(WaveformExtractor::shared().extractPeaks(url, count));
}

Task<> extract(FileUrl url, std::stop_token token, int* cancelled) {
    auto job = WaveformExtractor::shared().extractPeaks(url, 8, token);
    try {
        co_await job;
    } catch (const Cancelled&) {
        ++*cancelled;
    }
}

TEST(WaveformExtractor, KeepsWhatItMadeForEachNumberOfPeaks) {
    const FileUrl url = MediaLibrary::shared().place("kept.flac");
    mediaKind("flac 16").write(url, makeSignal(100000));
    const QList<float> peaks = peaksOf(url, 160);
    EXPECT_EQ(peaks.size(), 160);
    EXPECT_EQ(*std::max_element(peaks.begin(), peaks.end()), 1);
    EXPECT_EQ(peaksOf(url, 16).size(), 16) << "another number, another entry";

    QFile::remove(QFile::decodeName(url.path()));
    EXPECT_EQ(peaksOf(url, 160), peaks);
    EXPECT_NE(peaksOf(url, 161).mid(0, 160), peaks) << "not asked for before, and gone by now";
}

TEST(WaveformExtractor, DrawsAPlainWaveForWhatItCannotReadAndLooksAgain) {
    const FileUrl url = MediaLibrary::shared().place("later.wav");
    QList<float> wave;
    for (int i = 0; i < 160; ++i) {
        wave.append(static_cast<float>(std::sin(i * 0.2) * 0.4 + 0.5));
    }
    EXPECT_EQ(wave.first(), 0.5F);
    EXPECT_EQ(peaksOf(url, 160), wave) << "missing";
    writeBytes(url, QByteArray(5000, 'x'));
    EXPECT_EQ(peaksOf(url, 160), wave) << "no sound";
    EXPECT_THAT(peaksOf(url, 0), testing::IsEmpty());
    mediaKind("wav s16").write(url, Signal{std::vector<float>(2000, 0.0F)});
    EXPECT_THAT(peaksOf(url, 160), testing::Each(0.08F)) << "readable by now, and silent";
}

TEST(WaveformExtractor, LetsTheNextOneThroughWhenAFileIsSkipped) {
    const FileUrl longFile = MediaLibrary::shared().file("flac 16", 44100 * 120);
    const FileUrl shortFile = MediaLibrary::shared().file("wav s16", 44100);
    const EventLoopTicker ticker;
    QElapsedTimer timer;
    timer.start();
    const QList<float> longPeaks = peaksOf(longFile, 7);
    const qint64 longTime = timer.elapsed();

    // A task that is stopped while the file is being decoded, and several that wait behind it.
    timer.start();
    TaskSlot slot;
    int cancelled = 0;
    for (int i = 0; i < 5; ++i) {
        slot.start([&](std::stop_token token) { return extract(longFile, token, &cancelled); });
        spinFor(std::chrono::milliseconds(longTime / 20 + 1));
    }
    slot.cancel();
    EXPECT_EQ(peaksOf(shortFile, 8).size(), 8);
    EXPECT_LT(timer.elapsed(), 2 * longTime) << "five times, if nothing was skipped";
    EXPECT_EQ(cancelled, 5);
    EXPECT_LT(ticker.longestStall(), 200) << "the main thread waits for nothing";
    EXPECT_EQ(longPeaks.size(), 7);
}

}  // namespace

}  // namespace halvenor::test
