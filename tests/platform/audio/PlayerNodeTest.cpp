#include <QCoreApplication>

#include <cmath>
#include <gmock/gmock.h>
#include <random>

#include "NodeFixture.h"
#include "platform/audio/FormatConverter.h"

using namespace halvenor;
using namespace halvenor::test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr AudioFormat cd{44100, 2};
constexpr AudioFormat dvd{48000, 2};

/// What one pass of the resampler makes of all samples, cut to the nearest output frame.
std::vector<float> resampledInOnePass(const std::vector<float>& samples, AudioFormat from,
                                      AudioFormat to) {
    FormatConverter converter(from, to);
    std::vector<float> output;
    converter.convert(samples.data(), static_cast<int64_t>(samples.size()) / from.channels, output);
    converter.drain(output);
    const double frames = static_cast<double>(samples.size()) / from.channels;
    output.resize(std::llround(frames * to.sampleRate / from.sampleRate) * to.channels);
    return output;
}

struct JoinCase {
    const char* name;
    AudioFormat output;
    int64_t portion;
};

struct PlayerNodeTest : testing::Test, NodeFixture {};
using AudioEngineTest = PlayerNodeTest;

class Joins : public testing::TestWithParam<JoinCase> {};

}  // namespace

TEST_P(Joins, AddLoseAndChangeNothing) {
    const auto& [name, format, portion] = GetParam();
    const std::vector<std::shared_ptr<MemoryFile>> files = {
        makeNoise(cd, 30011, 1), makeNoise(cd, 1, 2), makeNoise(cd, 577, 3), makeNoise(cd, 0, 4),
        makeNoise(cd, 150001, 5)};
    NodeFixture fixture(format);
    fixture.schedule(files);
    fixture.start();
    const std::vector<float> all = concatenation(files);
    fixture.expectHeard(format == cd ? all : resampledInOnePass(all, cd, format), portion);
    EXPECT_EQ(fixture.completions().size(), files.size());
}

INSTANTIATE_TEST_SUITE_P(PlayerNode, Joins,
                         testing::Values(JoinCase{"untouched, odd portions", cd, 997},
                                         JoinCase{"untouched, frame by frame pulls of a few", cd,
                                                  64},
                                         JoinCase{"untouched, all at once", cd, 200000},
                                         JoinCase{"resampled, odd portions", dvd, 1013},
                                         JoinCase{"resampled, large portions", dvd, 96000},
                                         JoinCase{"resampled down", {32000, 2}, 4096}));

TEST(PlayerNode, JoinsFilesThatAreScheduledAfterTheOneBeforeWasDecoded) {
    NodeFixture fixture(dvd);
    const auto first = makeNoise(cd, 44100, 1);
    const auto second = makeNoise(cd, 44101, 2);
    fixture.schedule(first);
    fixture.start();
    EXPECT_EQ(first->framesRead, first->frames());
    // The resampler is kept while more than 300 ms are left to hear.
    fixture.output->play(48000 * 6 / 10);
    fixture.node.waitUntilIdle();
    fixture.schedule(second);
    fixture.expectHeard(resampledInOnePass(concatenation({first, second}), cd, dvd));
}

TEST(PlayerNode, DrainsTheResamplerWhenNothingFollowsSoon) {
    NodeFixture fixture(dvd);
    const auto file = makeNoise(cd, 44100, 1);
    fixture.schedule(file, "a");
    fixture.start();
    int64_t pulled = fixture.output->pull(48000);
    EXPECT_LT(pulled, 48000) << "the resampler holds its last frames";
    fixture.output->hear(48000 * 65 / 100);
    fixture.node.waitUntilIdle();
    EXPECT_EQ(fixture.output->pull(48000), 0);
    fixture.output->hear(48000 * 6 / 100);
    fixture.node.waitUntilIdle();
    pulled += fixture.output->pull(48000);
    EXPECT_EQ(pulled, 48000);
    EXPECT_GE(fixture.output->wakeCount, 1);

    // What comes too late for the join begins at the next frame nevertheless.
    fixture.schedule(makeNoise(cd, 441, 2));
    fixture.playToEnd();
    EXPECT_EQ(fixture.output->framesHeard(), 48480);
}

TEST(PlayerNode, JoinsDifferentFormatsAtTheNearestFrame) {
    NodeFixture fixture({48000, 2});
    std::minstd_rand random(5);
    const std::vector<AudioFormat> formats = {{44100, 2}, {96000, 2}, {48000, 2}, {11025, 1},
                                              {88200, 6}, {37800, 1}, {44100, 1}};
    long double seconds = 0;
    std::vector<int64_t> ends;
    fixture.engine->start();
    for (int i = 0; i < 60; ++i) {
        const AudioFormat format = formats[random() % formats.size()];
        const auto frames = static_cast<int64_t>(random() % 5000);
        fixture.schedule(makeNoise(format, frames, i), std::to_string(i));
        seconds += static_cast<long double>(frames) / format.sampleRate;
        ends.push_back(std::llround(static_cast<double>(seconds * 48000)));
    }
    fixture.node.play();
    // Walk along the true ends: an entry is complete at its own, not a frame before.
    size_t done = 0;
    for (const int64_t end : ends) {
        const int64_t missing = end - fixture.output->framesHeard();
        if (missing > 0) {
            fixture.node.waitUntilIdle();
            ASSERT_EQ(fixture.output->play(missing - 1), missing - 1);
            ASSERT_LE(fixture.completions().size(), done);
            ASSERT_EQ(fixture.output->play(1), 1);
        }
        ++done;
        ASSERT_GE(fixture.completions().size(), done);
    }
    EXPECT_EQ(fixture.output->pull(1000), 0);
}

TEST(PlayerNode, ConvertsChannels) {
    const auto steady = [](AudioFormat format, std::vector<float> frame) {
        std::vector<float> samples;
        for (int i = 0; i < 500; ++i) {
            samples.insert(samples.end(), frame.begin(), frame.end());
        }
        return std::make_shared<MemoryFile>(format, samples);
    };
    struct Case {
        std::vector<float> frame;
        int outputChannels;
        std::vector<float> expected;
    };
    const std::vector<Case> cases = {
        {{0.75F}, 2, {0.75F, 0.75F}},
        {{0.25F, -0.5F}, 1, {-0.125F}},
        {{0.25F, -0.5F}, 6, {0.25F, -0.5F, 0, 0, 0, 0}},
        {{0.5F}, 6, {0.5F, 0.5F, 0, 0, 0, 0}},
        {{1, 1, 1, 1, 1, 1}, 2, {1, 1}},  // full scale everywhere stays full scale
        {{0, 0, 0.5F, 0, 0, 0}, 2, {0.1464466F, 0.1464466F}},
        {{1, 2, 3, 4, 5, 6, 7, 8, 9}, 2, {1, 2}},  // no layout has nine
    };
    for (const Case& c : cases) {
        const int channels = static_cast<int>(c.frame.size());
        NodeFixture fixture({44100, c.outputChannels});
        fixture.schedule(steady({44100, channels}, c.frame));
        fixture.start();
        fixture.playToEnd();
        ASSERT_EQ(fixture.output->framesHeard(), 500);
        const std::vector<float> last(fixture.output->heard().end() - c.outputChannels,
                                      fixture.output->heard().end());
        EXPECT_THAT(last, testing::Pointwise(testing::FloatNear(1e-5F), c.expected))
            << channels << " to " << c.outputChannels;
    }
}

TEST(PlayerNode, PlaysSegments) {
    struct Case {
        int64_t start;
        int64_t count;
        int64_t expectedStart;
        int64_t expectedCount;
    };
    for (const Case& c :
         {Case{100, 50, 100, 50}, Case{0, 1000, 0, 1000}, Case{999, 1, 999, 1},
          Case{500, 4294967295, 500, 500}, Case{1000, 10, 0, 0}, Case{10, 0, 0, 0}}) {
        SCOPED_TRACE(c.start);
        NodeFixture fixture;
        const auto file = makeNoise(cd, 1000, 1);
        fixture.node.scheduleSegment(file, c.start, c.count, fixture.handler("segment"));
        const auto next = makeNoise(cd, 10, 2);
        fixture.schedule(next, "next");
        fixture.start();
        std::vector<float> expected(
            file->samples().begin() + c.expectedStart * 2,
            file->samples().begin() + (c.expectedStart + c.expectedCount) * 2);
        expected.insert(expected.end(), next->samples().begin(), next->samples().end());
        fixture.expectHeard(expected);
        EXPECT_THAT(fixture.completions(), ElementsAre("segment", "next"));
    }
}

TEST_F(PlayerNodeTest, CompletesAFileWhenItsLastFrameWasHeard) {
    schedule(makeNoise(cd, 1000, 1), "a");
    schedule(makeNoise(cd, 1000, 2), "b");
    start();
    output->pull(2000);
    EXPECT_THAT(completions(), IsEmpty()) << "handed over is not heard";
    output->hear(999);
    EXPECT_THAT(completions(), IsEmpty());
    output->hear(1);
    EXPECT_THAT(completions(), ElementsAre("a"));
    output->hear(1000);
    EXPECT_THAT(completions(), ElementsAre("a", "b"));
    EXPECT_EQ(node.sampleTime(), 2000);
}

TEST_F(PlayerNodeTest, StopDropsEverythingAndCallsEachHandlerOnce) {
    EXPECT_EQ(node.sampleTime(), std::nullopt);
    schedule(makeNoise(cd, 100, 1), "a");
    schedule(makeNoise(cd, 900000, 2), "b");
    schedule(makeNoise(cd, 100, 3), "c");
    start();
    output->play(150);
    EXPECT_THAT(completions(), ElementsAre("a"));
    node.stop();
    EXPECT_THAT(completions(), ElementsAre("a", "b", "c"));
    EXPECT_EQ(node.sampleTime(), std::nullopt);
    EXPECT_FALSE(output->isRunning);

    // A pause does not start a stopped node, and a new schedule begins at frame 0.
    node.pause();
    EXPECT_EQ(node.sampleTime(), std::nullopt);
    const auto next = makeNoise(cd, 3000, 4);
    schedule(next, "d");
    node.play();
    EXPECT_EQ(node.sampleTime(), 0);
    playToEnd();
    const std::vector<float> tail(output->heard().begin() + 300, output->heard().end());
    EXPECT_EQ(firstDifference(tail, next->samples()), -1);
    EXPECT_THAT(completions(), ElementsAre("a", "b", "c", "d"));
}

TEST_F(PlayerNodeTest, PlaysOnBehindFilesThatFail) {
    const auto broken = makeNoise(cd, 1000, 1);
    broken->failsAt = 300;
    const auto shorter = makeNoise(cd, 500, 2);
    shorter->claimedLength = 90000;
    const auto longer = makeNoise(cd, 500, 3);
    longer->claimedLength = 20;
    const auto senseless = std::make_shared<MemoryFile>(AudioFormat{0, 2}, std::vector<float>{});
    schedule(broken, "broken");
    schedule(shorter, "shorter");
    schedule(senseless, "senseless");
    schedule(longer, "longer");
    start();
    std::vector<float> expected(broken->samples().begin(), broken->samples().begin() + 600);
    const std::vector<float> rest = concatenation({shorter, longer});
    expected.insert(expected.end(), rest.begin(), rest.end());
    expectHeard(expected);
    EXPECT_THAT(completions(), ElementsAre("broken", "shorter", "senseless", "longer"));
}

TEST_F(PlayerNodeTest, ChangesTheVolumeOfWhatWasPulledWithoutAClickOrAShift) {
    // A steady level shows each step of the gain by itself; a ramp in the second channel shows
    // where the frames are.
    std::vector<float> samples;
    for (int i = 0; i < 60000; ++i) {
        samples.push_back(0.5F);
        samples.push_back(static_cast<float>(i) / 65536.0F);
    }
    schedule(std::make_shared<MemoryFile>(cd, samples));
    start();
    for (const float volume : {0.3F, 0.9F, 0.0F, 0.55F, 1.0F}) {
        node.waitUntilIdle();
        output->pull(8000);
        output->hear(150);  // a ramp is on its way when the next change comes
        node.setVolume(volume);
    }
    output->hear(5000);
    EXPECT_EQ(output->rerenderCount, 5);
    playToEnd();

    const std::vector<float>& heard = output->heard();
    ASSERT_EQ(heard.size(), samples.size());
    float largestStep = 0;
    float lowest = 1;
    for (size_t i = 0; i < heard.size(); i += 2) {
        const float gain = heard[i] / 0.5F;
        ASSERT_NEAR(heard[i + 1], samples[i + 1] * gain, 1e-6) << "frame " << i / 2;
        largestStep = i == 0 ? 0 : std::max(largestStep, std::abs(heard[i] - heard[i - 2]));
        lowest = std::min(lowest, gain);
    }
    EXPECT_LT(lowest, 0.65F);
    EXPECT_LE(largestStep, 0.5F / 440);
    // After the last ramp back to 1 the samples are the file's own again.
    const size_t settled = (150 * 5 + 441) * 2;
    EXPECT_TRUE(std::equal(heard.begin() + settled, heard.end(), samples.begin() + settled));
}

TEST_F(PlayerNodeTest, BeginsAtTheVolumeThatWasSet) {
    node.setVolume(0.5F);
    schedule(std::make_shared<MemoryFile>(cd, std::vector<float>(2000, 0.5F)));
    start();
    playToEnd();
    EXPECT_THAT(output->heard(), testing::Each(0.25F));
}

TEST_F(PlayerNodeTest, GivesAgainWhatALostServerHeld) {
    const auto file = makeNoise(cd, 44100 * 12, 1);
    schedule(file, "a");
    start();
    std::minstd_rand random(3);
    while (output->framesHeard() < file->frames()) {
        node.waitUntilIdle();
        const int64_t room = 44100 * 3 - output->framesWaiting();
        output->pull(std::min<int64_t>(room, random() % 90000));
        output->hear(static_cast<int64_t>(random() % 60000));
        if (random() % 3 == 0) {
            output->loseDevice();
        }
    }
    EXPECT_EQ(firstDifference(output->heard(), file->samples()), -1);
    EXPECT_THAT(completions(), ElementsAre("a"));
}

TEST_F(PlayerNodeTest, DecodesAheadOnlySoFar) {
    const auto file = makeNoise(cd, 44100 * 30, 1);
    schedule(file);
    start();
    EXPECT_EQ(file->framesRead, 44100 * 4);
    output->play(44100);
    node.waitUntilIdle();
    EXPECT_EQ(file->framesRead, 44100 * 4) << "refills come in large pieces";
    output->play(44100 + 1);
    node.waitUntilIdle();
    EXPECT_EQ(file->framesRead, 44100 * 6 + 1);
}

TEST(AudioEngine, KeepsWhatWasScheduledBeforeItStartedAndWhileItIsStopped) {
    for (const AudioFormat second : {cd, AudioFormat{88200, 2}}) {
        NodeFixture fixture;
        const auto first = makeNoise(cd, 2000, 1);
        const auto next = makeNoise(cd, 3000, 2);
        fixture.schedule(first, "a");
        fixture.node.play();
        EXPECT_EQ(fixture.node.sampleTime(), std::nullopt);
        EXPECT_EQ(fixture.node.outputSampleRate(), 0);
        fixture.engine->start();
        EXPECT_EQ(fixture.node.outputSampleRate(), 44100);
        fixture.node.waitUntilIdle();
        fixture.schedule(next, "b");
        fixture.node.waitUntilIdle();
        fixture.output->pull(4000);
        fixture.output->hear(2500);

        fixture.engine->stop();
        EXPECT_FALSE(fixture.engine->isRunning());
        EXPECT_EQ(fixture.node.sampleTime(), std::nullopt);
        fixture.output->setFormat(second);
        fixture.engine->start();
        EXPECT_FALSE(fixture.output->isRunning) << "stopping the engine paused the node";
        EXPECT_EQ(fixture.node.sampleTime(), 2500 * second.sampleRate / 44100);
        fixture.node.play();
        fixture.playToEnd();
        EXPECT_EQ(fixture.node.sampleTime(), 5000 * second.sampleRate / 44100);
        EXPECT_THAT(fixture.completions(), ElementsAre("a", "b"));
        if (second == cd) {
            EXPECT_EQ(firstDifference(fixture.output->heard(), concatenation({first, next})), -1);
        }
    }
}

TEST_F(AudioEngineTest, PostsAChangeOfConfigurationToTheMainThread) {
    int changes = 0;
    engine->onConfigurationChange = [&] { ++changes; };
    output->onConfigurationChange();
    EXPECT_EQ(changes, 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(changes, 1);
    output->onConfigurationChange();
    engine.reset();
    QCoreApplication::processEvents();
    EXPECT_EQ(changes, 1);
}
