#include <QElapsedTimer>

#include <algorithm>
#include <set>

#include "AppStateFixture.h"
#include "model/scanner/FolderScanner.h"
#include "tags/TagService.h"

namespace halvenor::test {
namespace {

class NextFolderTest : public AppStateFixture {
  protected:
    /// One Location of these folders, each with its tracks; the mode is on.
    void makeLibrary(const std::vector<std::pair<QByteArray, std::vector<QByteArray>>>& folders) {
        addLibrary(folders);
        state().repeatMode = RepeatMode::nextFolder;
    }

    void open(const QByteArray& relative) { openAndRead("lib/" + relative); }
    void playRow(qsizetype row) { state().play(shown(row)); }
    void openAndPlay(const QByteArray& relative, qsizetype row = 0) {
        open(relative);
        playRow(row);
    }
    QByteArray openFolderName() { return (*state().selectedFolder)->name(); }

    testing::AssertionResult isQueuedSoon(const QByteArray& name) {
        if (spinUntil([&] { return queued() == name; })) {
            return testing::AssertionSuccess();
        }
        return testing::AssertionFailure() << "queued is " << queued().constData();
    }

    /// Waits until every search for a folder that was begun has ended, its result taken or
    /// dropped: it lists, then reads one track, and both services take one job after another.
    void letSearchesEnd() {
        runToCompletion(FolderScanner::shared().listDirectory(folder("lib")));
        runToCompletion(TagService::shared().readMetadata(folder("none.wav")));
    }
};

TEST_F(NextFolderTest, oneTrackOfEachFolderJoinWithoutAStopAndTheViewFollows) {
    makeLibrary({{"a", {"1.wav"}}, {"b/deep", {"2.wav"}}, {"c", {}}});
    open("a");
    int stops = 0;
    const Subscription seen = engine().isPlaying.subscribe([&](bool on) { stops += !on; });
    playRow(0);
    ASSERT_TRUE(isQueuedSoon("2")) << "the last track plays from the start";
    EXPECT_GT(engine().queuedTrack()->duration(), 0) << "it is shown complete at the join";
    EXPECT_EQ(openFolderName(), "a") << "nothing moves before the music does";
    state().selectedTrackIDs = QSet<QByteArray>{"something"};
    playTrackToItsEnd();
    ASSERT_TRUE(spinUntil([&] { return openFolderName() == "deep"; }));
    EXPECT_EQ(current(), "2");
    EXPECT_EQ(stops, 0);
    EXPECT_EQ(titles(*state().playbackQueue) + titles(*state().playingQueue), "22");
    EXPECT_EQ(titles(*state().playbackHistory), "1");
    EXPECT_TRUE(state().selectedTrackIDs->isEmpty());
    EXPECT_TRUE(state().isFolderLoaded(item("lib/b/deep")));
    EXPECT_TRUE(spinUntil([&] { return state().isFolderExpanded(item("lib/b")); }));
    EXPECT_EQ(storedSettings().path("PlayerLastTrackPath"), folder("lib/b/deep/2.wav").path());

    playTrackToItsEnd();
    letSearchesEnd();
    EXPECT_FALSE(*engine().isPlaying) << "the library ends here; it does not begin again";
    EXPECT_EQ(current() + openFolderName(), "2deep");
}

TEST_F(NextFolderTest, aListIsPlayedOutFirstAndTheNewOneIsReadAndPlayedOut) {
    makeLibrary({{"a", {"1.wav", "2.wav"}}, {"b", {"3.wav", "4.wav"}}, {"c", {"5.wav"}}});
    openAndPlay("a");
    for (const QByteArray names : {"12", "23", "34", "45"}) {
        ASSERT_TRUE(isQueuedSoon(names.mid(1))) << names.constData();
        EXPECT_EQ(current(), names.left(1));
        playTrackToItsEnd();
    }
    EXPECT_EQ(current(), "5");
    EXPECT_EQ(titles(*state().playbackHistory), "4 3 2 1");
    const TrackList& left = state().folderTracks->find(folder("lib/b").path()).value();
    EXPECT_TRUE(std::all_of(left.begin(), left.end(), [](const Track& track) {
        return track.duration() > 0;
    })) << "the tags of the other tracks are read while the first plays";
}

TEST_F(NextFolderTest, itGoesOnIntoTheNextLocation) {
    makeFolder("other", {"9.wav"});
    makeLibrary({{"a", {"1.wav"}}});
    addLocation("other");
    openAndPlay("a");
    ASSERT_TRUE(isQueuedSoon("9"));
    playTrackToItsEnd();
    EXPECT_TRUE(spinUntil([&] { return openFolderName() == "other"; }));
}

TEST_F(NextFolderTest, shuffleIsExhaustedFirstAndTheNextFolderBeginsWithItsFirst) {
    makeLibrary(
        {{"a", {"1.wav", "2.wav", "3.wav"}}, {"b", {"4.wav", "5.wav", "6.wav", "7.wav", "8.wav"}}});
    open("a");
    state().toggleShuffle();
    playRow(2);
    std::set<QByteArray> heard{current()};
    for (int i = 0; i < 2; ++i) {
        playTrackToItsEnd();
        heard.insert(current());
    }
    EXPECT_EQ(heard, (std::set<QByteArray>{"1", "2", "3"}));
    ASSERT_TRUE(isQueuedSoon("4"));
    playTrackToItsEnd();
    EXPECT_EQ(current(), "4");
    EXPECT_EQ(*state().currentIndex, 0);
    heard = {current()};
    for (int i = 0; i < 4; ++i) {
        playTrackToItsEnd();
        heard.insert(current());
    }
    EXPECT_EQ(heard, (std::set<QByteArray>{"4", "5", "6", "7", "8"}));
}

TEST_F(NextFolderTest, nextStartsThePreparedFolderAtOnce) {
    makeLibrary({{"a", {"1.wav"}}, {"b", {"2.wav", "3.wav"}}});
    openAndPlay("a");
    ASSERT_TRUE(isQueuedSoon("2"));
    int stops = 0;
    const Subscription seen = engine().isPlaying.subscribe([&](bool on) { stops += !on; });
    state().playNext();
    EXPECT_EQ(current() + queued() + openFolderName(), "23b") << "no turn of the loop was needed";
    EXPECT_TRUE(*engine().isPlaying);
    EXPECT_EQ(stops, 0);
    EXPECT_EQ(titles(*state().playbackHistory), "1");
}

TEST_F(NextFolderTest, nextBeforeThatStopsAndGoesOnWhenTheFolderIsFound) {
    makeLibrary({{"a", {"1.wav"}}, {"b", {"2.wav"}}});
    openAndPlay("a");
    state().playNext();
    EXPECT_EQ(current(), "1");
    EXPECT_FALSE(*engine().isPlaying);
    state().playNext();
    ASSERT_TRUE(spinUntil([&] { return current() == "2" && *engine().isPlaying; }));
    EXPECT_EQ(openFolderName(), "b");
    EXPECT_EQ(titles(*state().playbackHistory), "1");
    letSearchesEnd();
    EXPECT_EQ(current(), "2") << "asked for twice, done once";
}

TEST_F(NextFolderTest, nextAfterTheLastFolderStops) {
    makeLibrary({{"a", {"1.wav"}}, {"b", {"2.wav"}}});
    openAndPlay("b");
    letSearchesEnd();
    state().playNext();
    letSearchesEnd();
    EXPECT_FALSE(*engine().isPlaying);
    EXPECT_EQ(current() + openFolderName(), "2b");
    EXPECT_EQ(*engine().currentTime, 0);
}

TEST_F(NextFolderTest, theModeCanBeTurnedOnAndOffWhileTheLastTrackPlays) {
    makeLibrary({{"a", {"0.wav", "1.wav"}}, {"b", {"2.wav", "3.wav"}}});
    state().repeatMode = RepeatMode::off;
    openAndPlay("a", 1);
    EXPECT_EQ(queued(), "none");
    state().repeatMode = RepeatMode::nextFolder;
    ASSERT_TRUE(isQueuedSoon("2"));
    state().repeatMode = RepeatMode::off;
    EXPECT_EQ(queued(), "2") << "what is queued while it plays stays queued";
    playTrackToItsEnd();
    EXPECT_EQ(current() + queued(), "2none");
    EXPECT_EQ(titles(*state().playingQueue) + openFolderName(), "0 1a");
    EXPECT_EQ(*state().currentIndex, 1);
}

TEST_F(NextFolderTest, theModeTurnedOffDuringTheSearchEndsIt) {
    makeLibrary({{"a", {"1.wav"}}, {"b", {"2.wav"}}});
    openAndPlay("a");
    state().playNext();
    state().repeatMode = RepeatMode::off;
    letSearchesEnd();
    EXPECT_EQ(current() + queued() + openFolderName(), "1nonea");
    EXPECT_FALSE(*engine().isPlaying);
}

TEST_F(NextFolderTest, whatWasPreparedForOneFolderNeverFollowsAnother) {
    makeLibrary({{"a", {"1.wav"}}, {"b", {"2.wav"}}, {"c", {"3.wav"}}, {"d", {"4.wav"}}});
    const Track third = track("lib/c/3.wav");
    openAndPlay("a");
    ASSERT_TRUE(isQueuedSoon("2"));
    open("c");
    state().play(third);
    EXPECT_EQ(queued(), "none");
    ASSERT_TRUE(isQueuedSoon("4"));

    // The same while the way over is being looked for.
    openAndPlay("a");
    state().playNext();
    open("c");
    state().play(third);
    letSearchesEnd();
    EXPECT_EQ(current(), "3");
    EXPECT_TRUE(isQueuedSoon("4"));
}

TEST_F(NextFolderTest, onlyOneFolderOfTheLibraryHasANextOne) {
    makeLibrary({{"a", {"1.wav"}}, {"b", {"2.wav"}}, {"c", {"3.wav"}}});
    makeFolder("elsewhere", {"7.wav"});
    open("a");
    const Track outside = track("elsewhere/7.wav");
    const Track inA = track("lib/a/1.wav");
    const Track inB = track("lib/b/2.wav");
    const std::vector<TrackList> lists = {{outside}, {inA, inB}, {inB, outside}, {inA, outside}};
    for (const TrackList& list : lists) {
        SCOPED_TRACE(titles(list).constData());
        state().playbackQueue = list;
        state().play(list.at(list.size() - 1));
        letSearchesEnd();
        EXPECT_EQ(queued(), "none");
        state().playNext();
        letSearchesEnd();
        EXPECT_FALSE(*engine().isPlaying);
        EXPECT_EQ(current(), titles({list.at(list.size() - 1)}));
    }
}

TEST_F(NextFolderTest, aFolderWhoseFirstTrackCannotBeOpenedIsToldAndShown) {
    makeLibrary({{"a", {"1.wav"}}, {"b", {"2.wav", "3.wav"}}});
    truncate("lib/b/2.wav", 10);
    openAndPlay("a");
    EXPECT_TRUE(takeFailure().startsWith(QStringLiteral("Could not play \"2\": ")));
    EXPECT_EQ(current() + queued(), "1none");
    EXPECT_TRUE(*engine().isPlaying);
    playTrackToItsEnd();
    EXPECT_FALSE(takeFailure().isEmpty());
    EXPECT_FALSE(*engine().isPlaying);
    EXPECT_EQ(titles(*state().playingQueue) + openFolderName(), "2 3b");
}

// With every batch of tags the engine is told again what follows: that must not cost a walk
// through the list each time.
TEST_F(NextFolderTest, askingWhatFollowsAListOfTenThousandIsCheap) {
    makeLibrary({{"a", {"1.wav"}}, {"b", {"2.wav"}}});
    open("a");
    TrackList many;
    for (int i = 0; i < 10'000; ++i) {
        TrackFields fields;
        fields.url = folder("lib/a/x" + QByteArray::number(i) + ".wav");
        many.append(Track(fields));
    }
    many.append(shown(0));
    state().playbackQueue = many;
    playRow(10'000);
    ASSERT_TRUE(isQueuedSoon("2"));
    QElapsedTimer elapsed;
    elapsed.start();
    for (int i = 0; i < 2000; ++i) {
        state().playingQueue.mutate([&](TrackList& playing) { playing.replace(i, many[i]); });
        ASSERT_TRUE(state().gaplessNextTrack());
    }
    EXPECT_LT(elapsed.elapsed(), 5000) << "a search through the list would take far longer";
    RecordProperty("microsecondsEach", static_cast<int>(elapsed.nsecsElapsed() / 2000 / 1000));
}

}  // namespace
}  // namespace halvenor::test
