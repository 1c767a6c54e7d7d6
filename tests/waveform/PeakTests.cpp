// What the buckets hold, and that decoding in sections changes nothing.
#include <QFile>

#include <cmath>
#include <gmock/gmock.h>
#include <limits>
#include <numeric>

#include "base/Error.h"
#include "base/Task.h"
#include "support/MediaLibrary.h"
#include "support/MemoryFile.h"
#include "waveform/PeakDecoding.h"

namespace halvenor::test {

namespace {

using testing::Each;
using testing::ElementsAre;

constexpr AudioFormat mono{1000, 1};

/// Straight from the definition: one frame after another, into the bucket that it belongs to.
QList<float> plainPeaks(AudioFile& file, int count, int64_t length) {
    const int channels = file.processingFormat().channels;
    std::vector<float> frame(static_cast<size_t>(channels));
    std::vector<float> levels(static_cast<size_t>(count));
    const int64_t framesPerBucket = std::max<int64_t>(length / count, 1);
    for (int64_t i = 0; file.read(frame.data(), 1) == 1; ++i) {
        float sum = 0;
        for (const float sample : frame) {
            sum += std::abs(sample);
        }
        const auto bucket = static_cast<size_t>(std::min<int64_t>(i / framesPerBucket, count - 1));
        levels[bucket] = std::max(levels[bucket], sum / static_cast<float>(channels));
    }
    const float loudest = *std::max_element(levels.begin(), levels.end());
    QList<float> peaks;
    for (const float level : levels) {
        peaks.append(std::clamp(level * (loudest > 0 ? 1 / loudest : 1), 0.08F, 1.0F));
    }
    return peaks;
}

std::optional<QList<float>> peaksOf(AudioFormat format, const std::vector<float>& samples,
                                    int count) {
    return decodePeaks([&] { return std::make_shared<MemoryFile>(format, samples); }, count, 1);
}

TEST(Peaks, AreTheHighestMeanOfEachStretch) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float infinity = std::numeric_limits<float>::infinity();
    struct Case {
        const char* name;
        int channels;
        std::vector<float> samples;
        std::vector<float> peaks;  ///< as many as are asked for
    };
    const Case cases[] = {
        {"two frames a bucket", 1, {0.25F, -0.5F, 1, 0, 0.75F, 0.125F}, {0.5F, 1, 0.75F}},
        {"what is left over goes into the last", 1, {0.5F, 0.5F, 0.25F, 0, 1}, {0.5F, 1}},
        {"fewer frames than buckets", 1, {0.5F, -1}, {0.5F, 1, 0.08F, 0.08F}},
        {"channels are averaged without their signs", 2, {1, -1, 0.5F, 0, 0, 0}, {1, 0.25F, 0.08F}},
        {"three channels", 3, {0, 0.75F, 0, 0.5F, 0.5F, 0.5F}, {0.5F, 1}},
        {"quiet is raised to full height", 1, {0.001F, 0.002F}, {0.5F, 1}},
        {"silence", 1, {0, 0, 0, 0}, {0.08F, 0.08F}},
        {"what is no number is left out", 1, {nan, 0.5F, infinity, 0.25F}, {1, 0.5F}},
        {"the same in a long stretch", 2, std::vector<float>(1000, infinity), {0.08F}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const auto peaks =
            peaksOf({1000, each.channels}, each.samples, static_cast<int>(each.peaks.size()));
        ASSERT_TRUE(peaks);
        EXPECT_EQ(*peaks, QList<float>(each.peaks.begin(), each.peaks.end()));
    }
    EXPECT_FALSE(peaksOf(mono, {}, 4)) << "no frames, no peaks";
}

TEST(Peaks, OfMonoAndOfTheSameInStereoAreTheSame) {
    const Signal signal = makeSignal(50001, 44100, 1);
    std::vector<float> doubled;
    for (const float sample : signal.samples) {
        doubled.insert(doubled.end(), {sample, sample});
    }
    EXPECT_EQ(peaksOf({44100, 1}, signal.samples, 160), peaksOf({44100, 2}, doubled, 160));
}

TEST(Peaks, DivideTheFramesThatThereAre) {
    std::vector<float> ramp(100000);
    std::iota(ramp.begin(), ramp.end(), 1.0F);
    const auto peaksWith = [&](std::optional<int64_t> claimed, std::optional<int64_t> failsAt) {
        return decodePeaks(
            [&] {
                auto file = std::make_shared<MemoryFile>(mono, ramp);
                file->claimedLength = claimed;
                file->failsAt = failsAt;
                return file;
            },
            4, 1);
    };
    const auto whole = peaksWith({}, {});
    EXPECT_THAT(*whole, ElementsAre(0.25F, 0.5F, 0.75F, 1));
    EXPECT_EQ(peaksWith(120000, {}), whole) << "an estimate that was too long";
    EXPECT_EQ(peaksWith(70000, {}), whole) << "one that was too short";
    const auto cut = peaksWith({}, 50000);
    EXPECT_THAT(*cut, ElementsAre(testing::FloatNear(0.5F, 0.05F), 1, 0.08F, 0.08F))
        << "an unreadable rest is silent";
}

/// A file of real music frames in each format, against one frame at a time.
class PeaksOfEveryKind : public testing::TestWithParam<MediaKind> {};

TEST_P(PeaksOfEveryKind, AreThoseOfTheWholeFileInSectionsToo) {
    const FileUrl url = MediaLibrary::shared().file(GetParam().name, 44100 * 65 + 321);
    const auto open = [&] { return AudioFile::open(url); };
    const auto file = open();
    const QList<float> plain = plainPeaks(*file, 160, file->length());
    EXPECT_EQ(decodePeaks(open, 160, 1), plain);
    EXPECT_EQ(decodePeaks(open, 160, 4), plain);
}

std::string caseName(const testing::TestParamInfo<MediaKind>& info) {
    std::string name = info.param.name;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(All, PeaksOfEveryKind, testing::ValuesIn(mediaKinds()), caseName);

TEST(DamagedFiles, GiveTheSamePeaksInSections) {
    for (const char* name :
         {"mp3", "mp3 lame untagged V5", "flac 16", "vorbis", "wav s16", "alac"}) {
        for (const bool isCut : {true, false}) {
            SCOPED_TRACE(std::string(name) + (isCut ? " cut short" : " damaged"));
            QByteArray bytes = readBytes(MediaLibrary::shared().file(name, 44100 * 65 + 321));
            if (isCut) {
                bytes.truncate(bytes.size() * 2 / 5);
            } else {
                // Long stretches, so that some join of sections falls into one.
                for (qsizetype at = bytes.size() / 10; at < bytes.size(); at += bytes.size() / 7) {
                    const qsizetype size = std::min(bytes.size() / 20, bytes.size() - at);
                    bytes.replace(at, size, QByteArray(size, '\x5a'));
                }
            }
            const FileUrl url = MediaLibrary::shared().place("damaged");
            writeBytes(url, bytes);
            const auto open = [&] { return AudioFile::open(url); };
            try {
                open();
            } catch (const Error&) {
                EXPECT_FALSE(decodePeaks(open, 160, 4));
                continue;
            }
            const auto straight = decodePeaks(open, 160, 1);
            ASSERT_TRUE(straight);
            EXPECT_EQ(decodePeaks(open, 160, 4), straight);
        }
    }
}

/// A file whose samples depend on where reading began, though it claims that they do not.
class ForgetfulFile final : public MemoryFile {
  public:
    using MemoryFile::MemoryFile;
    void seek(int64_t frame) override {
        MemoryFile::seek(frame);
        gain_ = frame == 0 ? 1 : 0.5F;
    }
    int64_t read(float* samples, int64_t frames) override {
        const int64_t got = MemoryFile::read(samples, frames);
        std::for_each(samples, samples + got, [&](float& sample) { sample *= gain_; });
        return got;
    }

  private:
    float gain_ = 1;
};

TEST(Sections, AreThrownAwayWhenTheyDoNotMeet) {
    const Signal signal = makeSignal(100000, 1000, 1);
    const auto wrong = [&] { return std::make_shared<ForgetfulFile>(mono, signal.samples); };
    EXPECT_EQ(decodePeaks(wrong, 100, 4), peaksOf(mono, signal.samples, 100));

    // A helper that can't open the file, as it was deleted meanwhile.
    std::atomic<int> opened = 0;
    const auto once = [&]() -> std::shared_ptr<AudioFile> {
        if (++opened > 1) {
            throw Error(ErrorKind::io, QStringLiteral("gone"));
        }
        return std::make_shared<MemoryFile>(mono, signal.samples);
    };
    EXPECT_EQ(decodePeaks(once, 100, 4), peaksOf(mono, signal.samples, 100));
}

/// Asks for a stop when all files of one test together have given a share of their frames.
class StoppingFile final : public MemoryFile {
  public:
    struct Shared {
        std::stop_source stop;
        std::atomic<int64_t> given = 0;
    };
    static constexpr int64_t enough = 100000;

    StoppingFile(const std::vector<float>& samples, Shared& shared)
        : MemoryFile(mono, samples), shared_(shared) {}
    int64_t read(float* samples, int64_t frames) override {
        const int64_t got = MemoryFile::read(samples, frames);
        if ((shared_.given += got) > enough) {
            shared_.stop.request_stop();
        }
        return got;
    }

  private:
    Shared& shared_;
};

TEST(Stopping, EndsTheWorkAfterABlock) {
    const Signal signal = makeSignal(2000000, 1000, 1);
    for (const int threads : {1, 3}) {
        StoppingFile::Shared shared;
        const auto open = [&] { return std::make_shared<StoppingFile>(signal.samples, shared); };
        EXPECT_THROW(decodePeaks(open, 160, threads, shared.stop.get_token()), Cancelled);
        EXPECT_LT(shared.given, 3 * StoppingFile::enough);
    }
}

}  // namespace

}  // namespace halvenor::test
