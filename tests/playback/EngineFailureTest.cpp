#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>

#include "EngineFixture.h"

using namespace halvenor;
using namespace halvenor::test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using EngineFailures = EngineTest;
using EngineConfigurationChange = EngineTest;
using EngineAliases = EngineTest;

}  // namespace

// Opening comes before anything is thrown away: what sounds goes on.
TEST(EngineFailure, LeavesWhatSoundsAlone) {
    struct Case {
        const char* name;
        std::function<void(EngineFixture&, const Track& gone, const Track& unreadable)> act;
        std::string log;
    };
    using F = EngineFixture;
    const std::vector<Case> cases = {
        {"load a missing file",
         [](F& f, const Track& gone, const Track&) { f.engine->loadAndPlay(gone); },
         "failed gone.mp3: File not found: gone.mp3"},
        {"load an unreadable file",
         [](F& f, const Track&, const Track& bad) { f.engine->load(bad, 3, false); },
         "failed bad.mp3: unreadable"},
        {"seek in a file that can't be opened again",
         [](F& f, const Track&, const Track&) {
             f.refused = {"a"};
             f.engine->seek(1);
         },
         "failed a: unreadable"},
        {"replace the queued track when the current one can't be opened again",
         [](F& f, const Track&, const Track&) {
             f.refused = {"a"};
             f.engine->setNextTrack({});
         },
         "failed a: unreadable"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EngineFixture fixture;
        const Track a = fixture.add("a", 44100);
        const Track b = fixture.add("b", 1000);
        const Track gone = fixture.addMissing("gone.mp3");
        const Track bad = fixture.addUnreadable("bad.mp3");
        fixture.playBoth(a, b);
        fixture.play(10000);
        c.act(fixture, gone, bad);
        EXPECT_THAT(fixture.log, ElementsAre(c.log));
        EXPECT_EQ(fixture.queued(), "b");
        EXPECT_EQ(**fixture.engine->currentTrack, a);
        EXPECT_TRUE(*fixture.engine->isPlaying);
        fixture.expectHeard(fixture.samplesOf(a) + fixture.samplesOf(b));
    }
}

TEST_F(EngineFailures, QueueNothingThatIsMissingOrUnreadable) {
    const Track a = add("a", 44100);
    const Track gone = addMissing("gone");
    const Track bad = addUnreadable("bad");
    engine->loadAndPlay(a);
    engine->setNextTrack(gone);
    engine->preloadNextTrackIfNeeded(gone);
    EXPECT_THAT(log, IsEmpty()) << "a missing file is told of when it is reached";
    engine->setNextTrack(bad);
    EXPECT_THAT(log, ElementsAre("failed bad: unreadable"));
    EXPECT_EQ(queued(), "");

    // In a rebuild as well: the current track goes on by itself.
    engine->setNextTrack(add("b", 100));
    play(22050);
    engine->setNextTrack(bad);
    EXPECT_EQ(log.size(), 2U);
    EXPECT_EQ(queued(), "");
    expectHeard(samplesOf(a));
    EXPECT_EQ(log.back(), "ended");
}

TEST_F(EngineFailures, PlayAQueuedFileThatWasDeleted) {
    const auto [a, b] = playTwo(1000, 44100);
    erase(b);
    engine->setNextTrack(b);
    expectHeard(samplesOf(a) + samplesOf(b));
    EXPECT_THAT(log, ElementsAre("now b", "ended"));
}

TEST_F(EngineFailures, TellWhenTheEngineCannotStart) {
    const Track a = add("a", 44100);
    output->openFailure = "no sound";
    engine->loadAndPlay(a);
    EXPECT_THAT(log, ElementsAre("failed a: no sound"));
    EXPECT_EQ(**engine->currentTrack, a);
    EXPECT_FALSE(*engine->isPlaying);
    engine->resume();
    EXPECT_EQ(log.size(), 2U);
    EXPECT_FALSE(*engine->isPlaying);

    // The schedule went with the first failure: what is to sound must be loaded again.
    output->openFailure.clear();
    engine->loadAndPlay(a);
    expectHeard(samplesOf(a));
}

TEST_F(EngineFailures, AreDroppedWithoutAListener) {
    engine->onLoadFailed = nullptr;
    engine->onPlaybackEnded = nullptr;
    engine->onGaplessTransition = nullptr;
    engine->loadAndPlay(addMissing("gone"));
    EXPECT_FALSE(*engine->currentTrack);
    playTwo(10, 10);
    playToEnd();
    EXPECT_FALSE(*engine->isPlaying);
}

TEST(EngineConfiguration, MayChangeAtAnyPlaceAndKeepsTheNextTrack) {
    for (const bool isPlaying : {true, false}) {
        EngineFixture fixture;
        const Track a = fixture.add("a", 44100);
        const Track b = fixture.add("b", 48000, {48000, 2});
        fixture.playBoth(a, b);
        fixture.play(22050);
        if (!isPlaying) {
            fixture.engine->pause();
        }
        fixture.output->setFormat({48000, 2});
        fixture.changeConfiguration();
        EXPECT_EQ(*fixture.engine->currentTime, 0.5);
        EXPECT_EQ(*fixture.engine->isPlaying, isPlaying);
        EXPECT_EQ(fixture.queued(), "b");
        fixture.engine->resume();
        fixture.play(12000);
        EXPECT_EQ(fixture.position(), 0.75);
        fixture.playToEnd();
        EXPECT_THAT(fixture.log, ElementsAre("now b", "ended"));
        EXPECT_EQ(fixture.output->framesHeard(), 24000 + 48000);
        const std::vector<float>& heard = fixture.output->heard();
        ASSERT_GE(heard.size(), 96000U);
        const std::vector<float> last(heard.end() - 96000, heard.end());
        EXPECT_EQ(firstDifference(last, fixture.samplesOf(b)), -1);
    }
}

TEST_F(EngineConfigurationChange, LoadsNothingWhenNothingIsScheduled) {
    changeConfiguration();
    engine->loadAndPlay(add("a", 44100));
    engine->stop();
    changeConfiguration();
    EXPECT_FALSE(output->isOpen());
    EXPECT_FALSE(*engine->isPlaying);
    EXPECT_THAT(log, IsEmpty());

    // A new output that can't be opened: told once, and the track stays where it was.
    const Track a = **engine->currentTrack;
    engine->loadAndPlay(a);
    play(11025);
    output->openFailure = "no sound";
    changeConfiguration();
    EXPECT_THAT(log, ElementsAre("failed a: no sound"));
    EXPECT_FALSE(*engine->isPlaying);
    output->openFailure.clear();
    engine->resume();
    EXPECT_EQ(position(), 0.25);
    expectHeard(samplesOf(a));
}

// The node's thread is decoding, completing and posting all the while.
TEST(EngineDestruction, IsSafeAtAnyMoment) {
    for (int round = 0; round < 40; ++round) {
        EngineFixture fixture;
        fixture.playTwo(2000, 44100 * 10);
        if (round % 2 == 0) {
            fixture.engine->waitUntilIdle();
        }
        fixture.output->play(2000 + round);
        if (round % 3 == 0) {
            fixture.engine->seek(0.01);
        }
        if (round % 5 == 0) {
            fixture.output->onConfigurationChange();
        }
        fixture.engine.reset();
        QCoreApplication::processEvents();
        EXPECT_THAT(fixture.log, IsEmpty()) << "nobody is there to tell";
    }
}

TEST_F(EngineAliases, LiveAsLongAsTheirEntryIsScheduled) {
    const Track plain = add("plain.flac", 1000);
    const Track a = addMisnamedMp4("a.bin", 10000);
    const Track b = addMisnamedMp4("b.bin", 44100);
    std::filesystem::create_directories(PlaybackAlias::directory().path().toStdString());
    std::filesystem::create_symlink(
        "/gone",
        PlaybackAlias::directory().appendingPathComponent("crash.m4a").path().toStdString());
    engine->loadAndPlay(plain);
    EXPECT_EQ(aliases().size(), 0U) << "what an earlier run left is gone";

    engine->setNextTrack(a);
    EXPECT_EQ(aliases().size(), 1U);
    play(1000);
    engine->setNextTrack(b);
    EXPECT_EQ(aliases().size(), 2U);
    play(10000);
    EXPECT_EQ(aliases().size(), 1U) << "a has finished";
    play(5000);
    engine->seek(0.5);
    EXPECT_EQ(aliases().size(), 1U) << "one opened anew, one gone";
    engine->stop();
    EXPECT_EQ(aliases().size(), 0U);

    engine->loadAndPlay(b);
    playToEnd();
    EXPECT_EQ(aliases().size(), 0U);
    engine->load(b, 0, false);
    EXPECT_EQ(aliases().size(), 1U);
    output->openFailure = "no sound";
    changeConfiguration();
    EXPECT_EQ(aliases().size(), 1U) << "it waits for an output";
    output->openFailure.clear();
    engine->load(a, 0, false);
    EXPECT_EQ(aliases().size(), 1U);
    engine.reset();
    EXPECT_EQ(aliases().size(), 0U);
    EXPECT_EQ(log, (std::vector<std::string>{"now a.bin", "now b.bin", "ended",
                                             "failed b.bin: no sound"}));
}
