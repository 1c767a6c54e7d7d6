#include <cmath>
#include <gmock/gmock.h>
#include <vector>

#include "EngineFixture.h"
#include "platform/audio/FormatConverter.h"
#include "support/EventLoop.h"

using namespace halvenor;
using namespace halvenor::test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Stereo at the rate of a CD, as one pass through the converter makes it.
std::vector<float> asCd(const EngineFixture& fixture, const Track& track) {
    const MemoryFile& file = fixture.soundOf(track);
    const AudioFormat format = file.processingFormat();
    if (format == cd) {
        return file.samples();
    }
    FormatConverter converter(format, cd);
    std::vector<float> samples;
    converter.convert(file.samples().data(), file.frames(), samples);
    converter.drain(samples);
    samples.resize(file.frames() * cd.sampleRate / format.sampleRate * cd.channels);
    return samples;
}

}  // namespace

TEST_F(EngineTest, PlaysAListOfFormatsWithoutASeam) {
    const std::vector<Track> list = {add("a.flac", 30011), add("b.mp3", 12345, {44100, 1}),
                                     add("c.wav", 48000 / 4, {48000, 2}), add("d.ogg", 1),
                                     add("e.flac", 70001)};
    std::vector<float> expected;
    for (const Track& track : list) {
        expected = std::move(expected) + asCd(*this, track);
    }
    size_t row = 0;
    afterTransition = [&](const Track& track) {
        EXPECT_EQ(track, *engine->currentTrack);
        ++row;
        engine->setNextTrack(row + 1 < list.size() ? std::optional(list[row + 1]) : std::nullopt);
    };
    playBoth(list[0], list[1]);
    expectHeard(expected);
    EXPECT_THAT(log, ElementsAre("now b.mp3", "now c.wav", "now d.ogg", "now e.flac", "ended"));
    EXPECT_FALSE(*engine->isPlaying);
    EXPECT_EQ(*engine->currentTime, *engine->duration);
    EXPECT_EQ(*engine->currentTrack, list[4]) << "it stays set";
}

// A completion that was posted before the main thread did something else must find itself stale.
TEST(AudioEngineManager, IgnoresCompletionsOfAScheduleThatWasThrownAway) {
    struct Case {
        const char* name;
        std::function<void(EngineFixture&, const Track& third)> act;
        std::string current;
        std::string queued;
        double position;
    };
    const std::vector<Case> cases = {
        {"stop", [](auto& f, const Track&) { f.engine->stop(); }, "a", "", 0},
        {"seek", [](auto& f, const Track&) { f.engine->seek(0.25); }, "a", "b", 0.25},
        {"load", [](auto& f, const Track& c) { f.engine->load(c, 0.5, true); }, "c", "", 0.5},
        {"replace", [](auto& f, const Track& c) { f.engine->setNextTrack(c); }, "a", "c", 1},
        {"withdraw", [](auto& f, const Track&) { f.engine->setNextTrack({}); }, "a", "", 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EngineFixture fixture;
        const Track a = fixture.add("a", 44100);
        const Track b = fixture.add("b", 44100);
        const Track third = fixture.add("c", 44100);
        fixture.playBoth(a, b);
        fixture.hearOnly(50000);  // well into b, but nobody has heard of it yet
        c.act(fixture, third);
        fixture.settle();
        EXPECT_THAT(fixture.log, IsEmpty());
        EXPECT_EQ(EngineFixture::nameOf(**fixture.engine->currentTrack), c.current);
        EXPECT_EQ(fixture.queued(), c.queued);
        EXPECT_EQ(*fixture.engine->currentTime, c.position);
    }
}

TEST(AudioEngineManager, SeekKeepsWhatIsQueuedAndTheJoin) {
    for (const bool isPlaying : {true, false}) {
        EngineFixture fixture;
        const Track a = fixture.add("a", 88200);
        const Track b = fixture.add("b", 30000);
        fixture.engine->load(a, 0, isPlaying);
        fixture.engine->setNextTrack(b);
        fixture.play(isPlaying ? 5000 : 0);
        fixture.engine->seek(1.5);
        EXPECT_EQ(*fixture.engine->currentTime, 1.5);
        EXPECT_EQ(*fixture.engine->isPlaying, isPlaying);
        EXPECT_EQ(fixture.output->isRunning, isPlaying);
        EXPECT_EQ(fixture.queued(), "b");
        fixture.engine->resume();
        const auto before = isPlaying ? fixture.samplesOf(a, 0, 5000) : std::vector<float>();
        const auto expected = before + fixture.samplesOf(a, 66150) + fixture.samplesOf(b);
        fixture.expectHeard(expected);
        EXPECT_THAT(fixture.log, ElementsAre("now b", "ended"));
    }
}

TEST_F(EngineTest, SeekToTheEndPlaysTheLastFrameAndGoesOn) {
    const auto [a, b] = playTwo(44100, 100);
    engine->seek(99);
    EXPECT_EQ(*engine->currentTime, 1);
    expectHeard(samplesOf(a, 44099) + samplesOf(b));
    EXPECT_THAT(log, ElementsAre("now b", "ended"));
}

// The length of such a file is a guess; a seek must not cut the music at it.
TEST_F(EngineTest, SeekPlaysToTheTrueEndOfAFileThatClaimsTooLittle) {
    const Track a = add("a", 44100);
    claimLength(a, 30000);
    engine->loadAndPlay(a);
    engine->seek(0.5);
    expectHeard(samplesOf(a, 22050));
    EXPECT_THAT(log, ElementsAre("ended"));
}

TEST_F(EngineTest, TakesFresherTagsOfTheQueuedTrackWithoutTouchingTheSound) {
    const Track a = add("a", 20000);
    Track b = add("b", 20000);
    playBoth(a, b);
    play(1000);
    const int sources = output->setSourceCount;
    b.setTitle(QStringLiteral("Renamed"));
    engine->setNextTrack(b);
    EXPECT_EQ(output->setSourceCount, sources);
    EXPECT_EQ(engine->queuedTrack()->title(), QStringLiteral("Renamed"));
    engine->setNextTrack(b.relocated(place("").path() + "/./b"));
    EXPECT_EQ(output->setSourceCount, sources) << "the same file by another path";
    engine->preloadNextTrackIfNeeded(add("c", 100));
    EXPECT_EQ(queued(), "b") << "preloading never replaces";
    expectHeard(samplesOf(a) + samplesOf(b));
    EXPECT_EQ((*engine->currentTrack)->title(), QStringLiteral("Renamed"));
    EXPECT_THAT(log, ElementsAre("now b", "ended"));
}

TEST(AudioEngineManager, WithdrawsAndReplacesWhatIsQueuedInPlace) {
    for (const bool isPlaying : {true, false}) {
        for (const bool isReplaced : {true, false}) {
            EngineFixture fixture;
            const Track a = fixture.add("a", 44100);
            const Track b = fixture.add("b", 1000);
            const Track c = fixture.add("c", 2000);
            fixture.engine->loadAndPlay(a);
            const int sources = fixture.output->setSourceCount;
            fixture.engine->setNextTrack({});
            EXPECT_EQ(fixture.output->setSourceCount, sources) << "nothing was there to withdraw";
            fixture.engine->setNextTrack(b);
            fixture.settle();
            // More lies in the device than was heard: what was not heard is to come again.
            fixture.output->pull(30000);
            fixture.output->hear(22050);
            if (!isPlaying) {
                fixture.engine->pause();
            }
            fixture.engine->setNextTrack(isReplaced ? std::optional(c) : std::nullopt);
            EXPECT_EQ(*fixture.engine->currentTime, 0.5);
            EXPECT_EQ(*fixture.engine->isPlaying, isPlaying);
            EXPECT_EQ(fixture.queued(), isReplaced ? "c" : "");
            EXPECT_EQ(fixture.output->isRunning, isPlaying);
            fixture.engine->resume();
            const auto expected =
                fixture.samplesOf(a) + (isReplaced ? fixture.samplesOf(c) : std::vector<float>());
            fixture.expectHeard(expected);
        }
    }
}

TEST_F(EngineTest, FollowsATrackWithItself) {
    const Track a = add("a", 10000);
    playBoth(a, a);
    int rounds = 0;
    afterTransition = [&](const Track& track) {
        if (++rounds < 3) {
            engine->setNextTrack(track);
        }
    };
    const auto once = samplesOf(a);
    expectHeard(once + once + once + once);
    EXPECT_THAT(log, ElementsAre("now a", "now a", "now a", "ended"));
}

TEST(AudioEngineManager, TellsThePositionByWhatIsHeard) {
    EngineFixture fixture({48000, 2});
    const auto [a, b] = fixture.playTwo(44100 * 2, 44100);
    fixture.settle();
    fixture.output->pull(48000);
    EXPECT_EQ(fixture.position(), 0) << "handed over is not heard";
    fixture.output->hear(12000);
    EXPECT_EQ(fixture.position(), 0.25);
    fixture.engine->pause();
    EXPECT_EQ(fixture.output->play(5000), 0);
    fixture.engine->resume();
    EXPECT_EQ(*fixture.engine->currentTime, 0.25) << "no jump";
    fixture.output->hear(12000);
    EXPECT_EQ(fixture.position(), 0.5);

    fixture.engine->seek(1.25);
    fixture.play(12000);
    EXPECT_EQ(fixture.position(), 1.5);
    fixture.play(24000);  // to the end of a
    EXPECT_THAT(fixture.log, ElementsAre("now b"));
    EXPECT_EQ(fixture.position(), 0);
    EXPECT_EQ(*fixture.engine->duration, 1);
    fixture.play(24000);
    EXPECT_EQ(fixture.position(), 0.5);

    // Each load begins a timeline of its own; a position past the end is the beginning.
    fixture.engine->load(a, 1.5, true);
    fixture.play(12000);
    EXPECT_EQ(fixture.position(), 1.75);
    fixture.engine->load(a, 2, false);
    EXPECT_EQ(*fixture.engine->currentTime, 0);
    EXPECT_FALSE(*fixture.engine->isPlaying);
    fixture.engine->togglePlayPause();
    EXPECT_TRUE(fixture.output->isRunning);
    fixture.play(4800);
    EXPECT_EQ(fixture.position(), 0.1);
    fixture.engine->togglePlayPause();
    EXPECT_FALSE(fixture.output->isRunning);

    fixture.engine->stop();
    EXPECT_EQ(*fixture.engine->currentTime, 0);
    EXPECT_EQ(*fixture.engine->duration, 2) << "the bar goes on showing the track";
    EXPECT_EQ(**fixture.engine->currentTrack, a);
}

TEST_F(EngineTest, ReadsTheProgressByItselfWhilePlaying) {
    engine->loadAndPlay(add("a", 88200));
    hearOnly(44100);
    EXPECT_TRUE(spinUntil([&] { return *engine->currentTime == 1; }));
}

TEST_F(EngineTest, TakesTheTagsLengthOfAFileThatMeasuresNothing) {
    const Track a = add("a", 0, cd, 3);
    engine->load(a, 1, false);
    EXPECT_EQ(*engine->duration, 3);
    EXPECT_EQ(*engine->currentTime, 1);
    engine->resume();
    playToEnd();
    EXPECT_THAT(log, ElementsAre("ended"));
    EXPECT_EQ(*engine->currentTime, 3);

    const Track b = add("b", 44100);
    claimLength(b, 0);
    engine->loadAndPlay(b);
    EXPECT_EQ(*engine->duration, 0);
    play(20000);
    EXPECT_EQ(position(), 0) << "without a length there is no progress";
}

TEST_F(EngineTest, ResumesAnEmptyScheduleInSilence) {
    engine->resume();
    engine->togglePlayPause();
    engine->seek(3);
    engine->setNextTrack(add("b", 100));
    EXPECT_FALSE(*engine->isPlaying) << "nothing is loaded";
    EXPECT_EQ(queued(), "");
    EXPECT_EQ(output->openCount, 0);

    engine->load(add("a", 44100), 0.5, true);
    play(4410);
    engine->stop();
    engine->setNextTrack(add("b", 100));
    engine->resume();
    EXPECT_EQ(*engine->currentTime, 0);
    EXPECT_TRUE(*engine->isPlaying);
    settle();
    EXPECT_EQ(output->play(1000), 0);
    EXPECT_TRUE(*engine->isPlaying);
    EXPECT_THAT(log, IsEmpty());
}

TEST(AudioEngineManager, KeepsVolumeAndMutingApart) {
    constexpr float toggle = -2;  // instead of a volume: the mute button
    struct Step {
        float set;
        float volume;
        bool isMuted;
        float sounding;
    };
    EngineFixture fixture;
    fixture.engine->loadAndPlay(fixture.addSteady("steady", 44100 * 20));
    for (const Step& step :
         {Step{0.5F, 0.5F, false, 0.5F}, Step{toggle, 0.5F, true, 0},
          Step{toggle, 0.5F, false, 0.5F}, Step{0, 0, false, 0}, Step{toggle, 0, true, 0},
          Step{0.25F, 0.25F, false, 0.25F}, Step{toggle, 0.25F, true, 0}, Step{0, 0, true, 0},
          Step{toggle, 0.25F, false, 0.25F}, Step{7, 1, false, 1}, Step{-0.5F, 0, false, 0},
          Step{NAN, 0, false, 0}, Step{1, 1, false, 1}}) {
        if (step.set == toggle) {
            fixture.engine->toggleMute();
        } else {
            fixture.engine->setVolume(step.set);
        }
        EXPECT_EQ(*fixture.engine->volume, step.volume);
        EXPECT_EQ(*fixture.engine->isMuted, step.isMuted);
        fixture.play(4410);  // the change is a ramp of 10 ms
        EXPECT_EQ(fixture.output->heard().back(), step.sounding);
    }
}

TEST_F(EngineTest, FollowsMovedFilesWithoutARebuild) {
    const auto [a, b] = playTwo(20000, 20000);
    int changes = 0;
    const Subscription subscription =
        engine->currentTrack.subscribe([&](const auto&) { ++changes; });
    const int sources = output->setSourceCount;

    engine->relocatePaths({{"/elsewhere", "/nowhere"}});
    EXPECT_EQ(changes, 0);
    const QByteArray root = place("").path();
    engine->relocatePaths({{root, "/Music"}, {b.url().path(), "/Other/b2"}});
    EXPECT_EQ(changes, 1);
    EXPECT_EQ((*engine->currentTrack)->id(), "/Music/a");
    EXPECT_EQ(engine->queuedTrack()->id(), "/Other/b2");
    EXPECT_EQ((*engine->currentTrack)->title(), a.title());
    engine->setNextTrack(b.relocated("/Other/b2"));
    EXPECT_EQ(output->setSourceCount, sources);
    playToEnd();
    EXPECT_THAT(log, ElementsAre("now b2", "ended"));
}
