#include <algorithm>
#include <filesystem>

#include "AppStateFixture.h"

namespace halvenor::test {
namespace {

class QueueTest : public AppStateFixture {
  protected:
    void SetUp() override {
        addLocation("m", {"1.wav", "2.wav", "3.wav"});
        openAndRead("m");
    }
};

TEST_F(QueueTest, aListPlaysThroughToItsEndWithoutAStop) {
    int stops = 0;
    const Subscription seen = engine().isPlaying.subscribe([&](bool on) { stops += !on; });
    state().play(shown(0));
    EXPECT_EQ(queued(), "2");
    playTrackToItsEnd();
    EXPECT_EQ(*state().currentIndex, 1);
    EXPECT_EQ(current() + queued(), "23");
    playTrackToItsEnd();
    EXPECT_EQ(current() + queued(), "3none");
    playTrackToItsEnd();
    ASSERT_TRUE(spinUntil([&] { return titles(*state().playbackHistory) == "3 2 1"; }));
    EXPECT_FALSE(*engine().isPlaying);
    EXPECT_EQ(*engine().currentTime, 0) << "the last track stays on show at its beginning";
    EXPECT_EQ(output_->heard().size(), 3 * framesPerTrack * 2U);
}

TEST_F(QueueTest, stepsGoWhereTheModeSays) {
    struct Step {
        std::string_view action;
        QByteArray current;
        QByteArray queued;
    };
    struct Walk {
        RepeatMode mode;
        int start;
        std::vector<Step> steps;
    };
    const Walk walks[] = {
        {RepeatMode::off, 0, {{"next", "2", "3"}, {"previous", "1", "2"}, {"previous", "1", "2"}}},
        {RepeatMode::off, 1, {{"end", "3", "none"}, {"next", "3", "none"}}},
        {RepeatMode::all,
         1,
         {{"next", "3", "1"}, {"next", "1", "2"}, {"previous", "3", "1"}, {"end", "1", "2"}}},
    };
    for (const auto& [mode, start, steps] : walks) {
        state().repeatMode = mode;
        state().play(shown(start));
        for (const auto& [action, expected, queuedBehind] : steps) {
            SCOPED_TRACE(testing::Message() << start << ' ' << action);
            if (action == "next") {
                state().playNext();
            } else if (action == "previous") {
                state().playPrevious();
            } else {
                playTrackToItsEnd();
            }
            EXPECT_EQ(current(), expected);
            EXPECT_EQ(queued(), queuedBehind);
        }
    }
}

TEST_F(QueueTest, aSingleTrackRepeatsGaplesslyAndIgnoresShuffle) {
    openAndRead("one", {"x.wav"});
    state().repeatMode = RepeatMode::all;
    state().toggleShuffle();
    state().play(shown(0));
    EXPECT_EQ(queued(), "x");
    playTrackToItsEnd();
    EXPECT_EQ(current() + queued(), "xx");
    EXPECT_EQ(titles(*state().playbackHistory), "x") << "never twice in a row";
}

TEST_F(QueueTest, shufflePlaysEachOnceAndWalksBack) {
    state().toggleShuffle();
    state().play(shown(1));
    QByteArray order = current();
    for (int i = 0; i < 2; ++i) {
        const QByteArray promised = queued();
        state().playNext();
        EXPECT_EQ(current(), promised);
        order += current();
    }
    QByteArray sorted = order;
    std::ranges::sort(sorted);
    EXPECT_EQ(sorted, "123");
    EXPECT_EQ(order.at(0), '2') << "the chosen track comes first";
    EXPECT_EQ(queued(), "none");
    state().playPrevious();
    EXPECT_EQ(current(), order.mid(1, 1));
    state().playPrevious();
    EXPECT_EQ(current(), order.mid(0, 1));
    state().playPrevious();
    EXPECT_EQ(current(), order.mid(0, 1)) << "at the first, it starts over";
}

TEST_F(QueueTest, shuffledRepeatNeverQueuesATrackBehindItself) {
    state().repeatMode = RepeatMode::all;
    state().toggleShuffle();
    state().play(shown(0));
    for (int i = 0; i < 12; ++i) {
        EXPECT_NE(queued(), current());
        const QByteArray promised = queued();
        playTrackToItsEnd();
        EXPECT_EQ(current(), promised);
    }
}

TEST_F(QueueTest, changesWhilePlayingLeaveTheQueuedTrackInPlace) {
    state().play(shown(0));
    state().toggleShuffle();
    EXPECT_EQ(queued(), "2");
    playTrackToItsEnd();
    EXPECT_EQ(current(), "2");
    EXPECT_EQ(*state().currentIndex, 1);
    engine().pause();
    state().toggleShuffle();
    EXPECT_EQ(queued(), "3") << "while paused it is taken up at once";
    EXPECT_EQ(storedSettings().boolean("IsShuffleEnabled"), false);
}

TEST_F(QueueTest, theChosenTracksListIsTheOneOnShowOrThePlayingOneOrItself) {
    state().play(shown(0));
    const Track first = shown(0);
    openAndRead("other", {"9.wav"});
    state().play(first);
    EXPECT_EQ(titles(*state().playingQueue), "1 2 3");
    state().play(shown(0));
    EXPECT_EQ(titles(*state().playingQueue), "9");
    state().play(first);
    EXPECT_EQ(titles(*state().playingQueue), "1");
    EXPECT_EQ(queued(), "none");
}

TEST_F(QueueTest, aMissingFileIsToldAndNothingIsSkipped) {
    state().play(shown(0));
    std::filesystem::remove(folder("m/2.wav").path().toStdString());
    state().playNext();
    EXPECT_EQ(*state().playbackErrorMessage, QStringLiteral("File not found: 2.wav"));
    EXPECT_EQ(current(), "1");
    EXPECT_TRUE(*engine().isPlaying);
    EXPECT_EQ(*state().currentIndex, 1);
}

// What is listed can be anything. Each file is told by its name, and the music that plays goes on.
TEST_F(QueueTest, filesThatHoldNoMusicAreToldAndPassedOverByTheTagReader) {
    const QByteArray noise = QByteArray("no music here \0\xFF\xFB\x90", 18).repeated(300);
    const QList<QByteArray> extensions{"mp3", "m4a", "flac", "wav", "aiff",
                                       "aif", "aac", "ogg",  "alac"};
    makeFolder("junk");
    for (const QByteArray& extension : extensions) {
        makeFile("junk/noise." + extension, noise);
        makeFile("junk/void." + extension, {});
    }
    state().play(shown(0));
    openAndRead("junk");
    ASSERT_EQ(state().playbackQueue->size(), 2 * extensions.size());
    const TrackList junk = *state().playbackQueue;
    for (const Track& track : junk) {
        EXPECT_EQ(track.artist(), QStringLiteral("Unknown Artist")) << track.id().constData();
        state().play(track);
        EXPECT_TRUE(takeFailure().startsWith(QStringLiteral("Could not play \"")))
            << track.id().constData();
        EXPECT_EQ(current(), "1");
        EXPECT_TRUE(*engine().isPlaying);
    }
}

TEST_F(QueueTest, noSoundServerIsTold) {
    output_->openFailure = "No sound server is running.";
    state().play(shown(0));
    EXPECT_EQ(takeFailure(), QStringLiteral("Could not play \"1\": No sound server is running."));
    output_->openFailure.clear();
    state().play(shown(0));
    EXPECT_TRUE(*engine().isPlaying) << "the next attempt tries again";
}

TEST_F(QueueTest, historyKeepsThirtyAndTheRepeatButtonGoesAround) {
    for (int i = 0; i < 40; ++i) {
        state().play(shown(i % 3));
    }
    EXPECT_EQ(state().playbackHistory->size(), 30);
    std::vector<RepeatMode> seen;
    for (int i = 0; i < 3; ++i) {
        state().cycleRepeatMode();
        seen.push_back(*state().repeatMode);
    }
    EXPECT_EQ(seen, (std::vector{RepeatMode::all, RepeatMode::nextFolder, RepeatMode::off}));
    EXPECT_EQ(storedSettings().string("PlayerRepeatMode"), QStringLiteral("off"));
}

}  // namespace
}  // namespace halvenor::test
