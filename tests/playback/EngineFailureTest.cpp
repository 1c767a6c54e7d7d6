#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>

#include "EngineFixture.h"

using namespace halvenor;
using namespace halvenor::test;
using testing::ElementsAre;
using testing::IsEmpty;

// Opening comes before anything is thrown away: what sounds goes on.
TEST(EngineFailures, LeaveWhatSoundsAlone) {
    struct Case {
        const char* name;
        std::function<void(EngineFixture&, const Track& gone, const Track& unreadable)> act;
        std::vector<std::string> log;
        std::string queued;
    };
    using F = EngineFixture;
    const std::vector<Case> cases = {
        {"load a missing file",
         [](F& f, const Track& gone, const Track&) { f.engine->loadAndPlay(gone); },
         {"failed gone.mp3: File not found: gone.mp3"},
         "b"},
        {"load an unreadable file",
         [](F& f, const Track&, const Track& bad) { f.engine->load(bad, 3, false); },
         {"failed bad.mp3: unreadable"},
         "b"},
        {"seek in a file that can't be opened again",
         [](F& f, const Track&, const Track&) {
             f.refused = {"a"};
             f.engine->seek(1);
         },
         {"failed a: unreadable"},
         "b"},
        {"replace the queued track when the current one can't be opened again",
         [](F& f, const Track&, const Track&) {
             f.refused = {"a"};
             f.engine->setNextTrack({});
         },
         {"failed a: unreadable"},
         "b"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EngineFixture fixture;
        const Track a = fixture.add("a", 44100);
        const Track b = fixture.add("b", 1000);
        const Track gone = fixture.add("gone.mp3", 100);
        fixture.erase(gone);
        const Track bad = fixture.add("bad.mp3", 100);
        fixture.refused = {"bad.mp3"};
        fixture.engine->loadAndPlay(a);
        fixture.engine->setNextTrack(b);
        fixture.play(10000);
        c.act(fixture, gone, bad);
        EXPECT_EQ(fixture.log, c.log);
        EXPECT_EQ(fixture.queued(), c.queued);
        EXPECT_EQ(**fixture.engine->currentTrack, a);
        EXPECT_TRUE(*fixture.engine->isPlaying);
        fixture.playToEnd();
        EXPECT_EQ(
            firstDifference(fixture.output->heard(), fixture.samplesOf(a) + fixture.samplesOf(b)),
            -1);
    }
}

TEST(EngineFailures, QueueNothingThatIsMissingOrUnreadable) {
    EngineFixture fixture;
    const Track a = fixture.add("a", 44100);
    const Track gone = fixture.add("gone", 100);
    fixture.erase(gone);
    const Track bad = fixture.add("bad", 100);
    fixture.refused = {"bad"};
    fixture.engine->loadAndPlay(a);
    fixture.engine->setNextTrack(gone);
    fixture.engine->preloadNextTrackIfNeeded(gone);
    EXPECT_THAT(fixture.log, IsEmpty()) << "a missing file is told of when it is reached";
    fixture.engine->setNextTrack(bad);
    EXPECT_THAT(fixture.log, ElementsAre("failed bad: unreadable"));
    EXPECT_EQ(fixture.queued(), "");

    // In a rebuild as well: the current track goes on by itself.
    fixture.engine->setNextTrack(fixture.add("b", 100));
    fixture.play(22050);
    fixture.engine->setNextTrack(bad);
    EXPECT_EQ(fixture.log.size(), 2U);
    EXPECT_EQ(fixture.queued(), "");
    fixture.playToEnd();
    EXPECT_EQ(firstDifference(fixture.output->heard(), fixture.samplesOf(a)), -1);
    EXPECT_EQ(fixture.log.back(), "ended");
}

TEST(EngineFailures, PlayAQueuedFileThatWasDeleted) {
    EngineFixture fixture;
    const Track a = fixture.add("a", 1000);
    const Track b = fixture.add("b", 44100);
    fixture.engine->loadAndPlay(a);
    fixture.engine->setNextTrack(b);
    fixture.erase(b);
    fixture.engine->setNextTrack(b);
    fixture.playToEnd();
    EXPECT_EQ(firstDifference(fixture.output->heard(), fixture.samplesOf(a) + fixture.samplesOf(b)),
              -1);
    EXPECT_THAT(fixture.log, ElementsAre("now b", "ended"));
}

TEST(EngineFailures, TellWhenTheEngineCannotStart) {
    EngineFixture fixture;
    const Track a = fixture.add("a", 44100);
    fixture.output->openFailure = "no sound";
    fixture.engine->loadAndPlay(a);
    EXPECT_THAT(fixture.log, ElementsAre("failed a: no sound"));
    EXPECT_EQ(**fixture.engine->currentTrack, a);
    EXPECT_FALSE(*fixture.engine->isPlaying);
    fixture.engine->resume();
    EXPECT_EQ(fixture.log.size(), 2U);
    EXPECT_FALSE(*fixture.engine->isPlaying);

    // The schedule went with the first failure: what is to sound must be loaded again.
    fixture.output->openFailure.clear();
    fixture.engine->loadAndPlay(a);
    fixture.playToEnd();
    EXPECT_EQ(firstDifference(fixture.output->heard(), fixture.samplesOf(a)), -1);
}

TEST(EngineFailures, AreDroppedWithoutAListener) {
    EngineFixture fixture;
    fixture.engine->onLoadFailed = nullptr;
    fixture.engine->onPlaybackEnded = nullptr;
    fixture.engine->onGaplessTransition = nullptr;
    const Track gone = fixture.add("gone", 10);
    fixture.erase(gone);
    fixture.engine->loadAndPlay(gone);
    EXPECT_FALSE(*fixture.engine->currentTrack);
    fixture.engine->loadAndPlay(fixture.add("a", 10));
    fixture.engine->setNextTrack(fixture.add("b", 10));
    fixture.playToEnd();
    EXPECT_FALSE(*fixture.engine->isPlaying);
}

TEST(EngineConfigurationChange, GoesOnAtTheSamePlaceWithTheSameNextTrack) {
    for (const bool isPlaying : {true, false}) {
        EngineFixture fixture;
        const Track a = fixture.add("a", 44100);
        const Track b = fixture.add("b", 48000, {48000, 2});
        fixture.engine->loadAndPlay(a);
        fixture.engine->setNextTrack(b);
        fixture.play(22050);
        if (!isPlaying) {
            fixture.engine->pause();
        }
        fixture.output->setFormat({48000, 2});
        fixture.output->onConfigurationChange();
        fixture.settle();
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

TEST(EngineConfigurationChange, LoadsNothingWhenNothingIsScheduled) {
    EngineFixture fixture;
    fixture.output->onConfigurationChange();
    fixture.settle();
    fixture.engine->loadAndPlay(fixture.add("a", 44100));
    fixture.engine->stop();
    fixture.output->onConfigurationChange();
    fixture.settle();
    EXPECT_FALSE(fixture.output->isOpen());
    EXPECT_FALSE(*fixture.engine->isPlaying);
    EXPECT_THAT(fixture.log, IsEmpty());

    // A new output that can't be opened: told once, and the track stays where it was.
    const Track a = **fixture.engine->currentTrack;
    fixture.engine->loadAndPlay(a);
    fixture.play(11025);
    fixture.output->openFailure = "no sound";
    fixture.output->onConfigurationChange();
    fixture.settle();
    EXPECT_THAT(fixture.log, ElementsAre("failed a: no sound"));
    EXPECT_FALSE(*fixture.engine->isPlaying);
    fixture.output->openFailure.clear();
    fixture.engine->resume();
    EXPECT_EQ(fixture.position(), 0.25);
    fixture.playToEnd();
    EXPECT_EQ(firstDifference(fixture.output->heard(), fixture.samplesOf(a)), -1);
}

// The node's thread is decoding, completing and posting all the while.
TEST(EngineDestruction, IsSafeAtAnyMoment) {
    for (int round = 0; round < 40; ++round) {
        EngineFixture fixture;
        const Track a = fixture.add("a", 2000);
        const Track b = fixture.add("b", 44100 * 10);
        fixture.engine->loadAndPlay(a);
        fixture.engine->setNextTrack(b);
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

namespace {

size_t aliasCount() {
    const std::filesystem::path directory(PlaybackAlias::directory().path().toStdString());
    return std::filesystem::exists(directory)
               ? static_cast<size_t>(std::distance(std::filesystem::directory_iterator(directory),
                                                   std::filesystem::directory_iterator()))
               : 0;
}

}  // namespace

TEST(EngineAliases, LiveAsLongAsTheirEntryIsScheduled) {
    EngineFixture fixture;
    const Track plain = fixture.add("plain.flac", 1000);
    const Track a = fixture.addMisnamedMp4("a.bin", 10000);
    const Track b = fixture.addMisnamedMp4("b.bin", 44100);
    std::filesystem::create_directories(PlaybackAlias::directory().path().toStdString());
    std::filesystem::create_symlink(
        "/gone",
        PlaybackAlias::directory().appendingPathComponent("crash.m4a").path().toStdString());
    fixture.engine->loadAndPlay(plain);
    EXPECT_EQ(aliasCount(), 0U) << "what an earlier run left is gone";

    fixture.engine->setNextTrack(a);
    EXPECT_EQ(aliasCount(), 1U);
    fixture.play(1000);
    fixture.engine->setNextTrack(b);
    EXPECT_EQ(aliasCount(), 2U);
    fixture.play(10000);
    EXPECT_EQ(aliasCount(), 1U) << "a has finished";
    fixture.play(5000);
    fixture.engine->seek(0.5);
    EXPECT_EQ(aliasCount(), 1U) << "one opened anew, one gone";
    fixture.engine->stop();
    EXPECT_EQ(aliasCount(), 0U);

    fixture.engine->loadAndPlay(b);
    fixture.playToEnd();
    EXPECT_EQ(aliasCount(), 0U);
    fixture.engine->load(b, 0, false);
    EXPECT_EQ(aliasCount(), 1U);
    fixture.output->openFailure = "no sound";
    fixture.output->onConfigurationChange();
    fixture.settle();
    EXPECT_EQ(aliasCount(), 1U) << "it waits for an output";
    fixture.output->openFailure.clear();
    fixture.engine->load(a, 0, false);
    EXPECT_EQ(aliasCount(), 1U);
    fixture.engine.reset();
    EXPECT_EQ(aliasCount(), 0U);
    EXPECT_EQ(fixture.log, (std::vector<std::string>{"now a.bin", "now b.bin", "ended",
                                                     "failed b.bin: no sound"}));
}
