#include <algorithm>
#include <set>

#include "AppStateFixture.h"
#include "support/MediaLibrary.h"
#include "tags/TagService.h"

namespace halvenor::test {
namespace {

using namespace std::chrono_literals;

class SessionTest : public AppStateFixture {
  protected:
    /// Starts with these settings about the last track, the Locations that there are staying.
    void restartWith(const QByteArray& track, double position) {
        state().settings().setPath("PlayerLastTrackPath", track);
        state().settings().setNumber("PlayerLastPosition", position);
        startState();
    }

    void waitUntilRestored() {
        ASSERT_TRUE(spinUntil([&] {
            return *engine().currentTrack && *state().folderScrollRequest &&
                   !*state().metadataLoadingFolderID;
        }));
        letTagsBeRead();
    }
    /// Waits until a restore that is under way has read its track and gone on.
    void letTagsBeRead() { runToCompletion(TagService::shared().readMetadata(folder("none.wav"))); }
};

struct Place {
    const char* name;
    QByteArray file;
    int64_t framesPlayed;
};
class RoundTrip : public SessionTest, public testing::WithParamInterface<Place> {};

TEST_P(RoundTrip, thePlayerComesBackPausedWhereItWasAndGoesOnFromThere) {
    const Place& place = GetParam();
    const QByteArray file = place.file + ".wav";
    makeFolder("lib/deep/album", {"1.wav", file, "z.wav"});
    addLocation("lib");
    openAndRead("lib/deep/album");
    state().play(shown(1));
    engine().setVolume(0.5F);
    state().repeatMode = RepeatMode::all;
    engine().waitUntilIdle();
    output_->play(place.framesPlayed);

    state().willTerminate();
    startState();
    EXPECT_EQ(*engine().volume, 0.5F);
    EXPECT_EQ(*state().repeatMode, RepeatMode::all);
    waitUntilRestored();
    const double position = static_cast<double>(place.framesPlayed) / 44100;
    EXPECT_DOUBLE_EQ(*engine().currentTime, position);
    EXPECT_FALSE(*engine().isPlaying);
    EXPECT_EQ((*engine().currentTrack)->url(), folder("lib/deep/album/" + file));
    EXPECT_GT((*engine().currentTrack)->duration(), 0);
    EXPECT_EQ(titles(*state().playingQueue), "1 " + place.file + " z");
    EXPECT_EQ(*state().currentIndex, 1);
    EXPECT_EQ(queued(), "z");
    EXPECT_EQ((*state().selectedFolder)->url(), folder("lib/deep/album"));
    EXPECT_TRUE(state().isFolderExpanded(item("lib/deep")));
    EXPECT_TRUE(state().playbackHistory->isEmpty());

    engine().resume();
    const Signal whole = makeSignal(framesPerTrack);
    std::vector<float> rest =
        whole.part(place.framesPlayed, framesPerTrack - place.framesPlayed).samples;
    std::ranges::transform(rest, rest.begin(), [](float sample) { return sample / 2; });
    playTrackToItsEnd();
    EXPECT_EQ(current(), "z");
    ASSERT_GE(output_->heard().size(), rest.size());
    EXPECT_TRUE(std::equal(rest.begin(), rest.end(), output_->heard().begin()));
}

INSTANTIATE_TEST_SUITE_P(Places, RoundTrip,
                         testing::Values(Place{"inTheMiddle", "2", 1234}, Place{"atOnce", "2", 0},
                                         Place{"pathThatIsNoText", "caf\xe9", 882}),
                         [](const auto& one) { return one.param.name; });

TEST_F(SessionTest, settingsAreThereBeforeAnythingElse) {
    struct Case {
        QByteArray stored;
        float volume;
        bool isMuted;
        RepeatMode mode;
        bool isShuffled;
        const char* storedMode;
    };
    const Case cases[] = {
        {"{}", 1, false, RepeatMode::off, false, ""},
        {R"({"PlayerVolume": 0.5, "PlayerIsMuted": true, "IsShuffleEnabled": true})", 0.5, true,
         RepeatMode::off, true, ""},
        {R"({"PlayerVolume": 0, "PlayerRepeatMode": "nextFolder"})", 0, false,
         RepeatMode::nextFolder, false, "nextFolder"},
        // Modes of old and of later times, and values that are none.
        {R"({"PlayerRepeatMode": "one"})", 1, false, RepeatMode::off, false, "off"},
        {R"({"PlayerRepeatMode": "album"})", 1, false, RepeatMode::off, false, "album"},
        {R"({"PlayerVolume": 7, "PlayerIsMuted": "yes"})", 1, false, RepeatMode::off, false, ""},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.stored.constData());
        startWith(each.stored);
        EXPECT_EQ(*engine().volume, each.volume);
        EXPECT_EQ(*engine().isMuted, each.isMuted);
        EXPECT_EQ(*state().repeatMode, each.mode);
        EXPECT_EQ(*state().isShuffleEnabled, each.isShuffled);
        EXPECT_EQ(storedSettings().string("PlayerRepeatMode").value_or(QString()),
                  QString::fromLatin1(each.storedMode));
        spinFor(1ms);
        EXPECT_EQ(storedSettings().number("PlayerVolume"), each.volume);
        if (each.isMuted) {
            engine().toggleMute();
            EXPECT_EQ(*engine().volume, each.volume) << "unmuting gives back what was set";
        }
    }
}

TEST_F(SessionTest, aPositionOutsideTheTrackIsItsBeginning) {
    addLocation("lib", {"1.wav"});
    constexpr double end = static_cast<double>(framesPerTrack) / 44100;
    const std::vector<std::pair<double, double>> stored = {
        {-5, 0}, {end, 0}, {1e300, 0}, {end / 2, end / 2}};
    for (const auto& [position, expected] : stored) {
        restartWith(folder("lib/1.wav").path(), position);
        waitUntilRestored();
        EXPECT_EQ(*engine().currentTime, expected) << position;
    }
}

TEST_F(SessionTest, aMissingFileRestoresNothingAndIsNotForgotten) {
    addLocation("lib", {"1.wav"});
    for (const QByteArray& path : {folder("lib/gone.wav").path(), QByteArray()}) {
        restartWith(path, 3);
        letTagsBeRead();
        EXPECT_FALSE(*engine().currentTrack);
        EXPECT_FALSE(*state().playbackErrorMessage);
        state().willTerminate();
        EXPECT_EQ(storedSettings().path("PlayerLastTrackPath"), path);
        EXPECT_EQ(storedSettings().number("PlayerLastPosition"), 3);
    }
}

TEST_F(SessionTest, aTrackOutsideTheLibraryComesBackAlone) {
    makeFolder("gone", {"2.wav", "3.wav"});
    state().repeatMode = RepeatMode::all;
    restartWith(folder("gone/2.wav").path(), 0.01);
    ASSERT_TRUE(spinUntil([&] { return current() == "2"; }));
    EXPECT_EQ(titles(*state().playbackQueue) + titles(*state().playingQueue), "22");
    EXPECT_EQ(queued(), "none");
    EXPECT_EQ(*engine().currentTime, 0.01);
}

TEST_F(SessionTest, theListIsThatOfTheFolderWhereTheLibraryShowsIt) {
    addLibrary({{"x/sub/album", {"1.wav", "2.wav"}}, {".hidden", {"3.wav", "4.wav"}}});
    addLocation("lib/x/sub");
    struct Case {
        QByteArray track;
        const char* queue;
    };
    // The tracks of a hidden folder, which no listing shows, may have come by way of a playlist.
    for (const Case& each :
         {Case{"lib/.hidden/3.wav", "3"}, Case{"lib/x/sub/album/1.wav", "1 2"}}) {
        SCOPED_TRACE(each.track.constData());
        restartWith(folder(each.track).path(), 0.01);
        ASSERT_TRUE(spinUntil([&] {
            return engine().currentTrack->has_value() && state().isFolderLoaded(item("lib"));
        }));
        letTagsBeRead();
        EXPECT_TRUE(spinUntil([&] { return titles(*state().playingQueue) == each.queue; }));
        EXPECT_EQ((*engine().currentTrack)->url(), folder(each.track));
        EXPECT_EQ(*engine().currentTime, 0.01);
    }
    EXPECT_TRUE(state().isFolderExpanded(item("lib/x/sub/album")));
    EXPECT_FALSE(state().isFolderExpanded(item("lib/x"))) << "it begins at the deepest Location";
}

TEST_F(SessionTest, theUserIsFasterThanTheTags) {
    addLocation("lib", {"1.wav", "2.wav"});
    openAndRead("lib");
    const Track chosen = shown(1);
    restartWith(folder("lib/1.wav").path(), 0.02);
    state().play(chosen);
    letTagsBeRead();
    EXPECT_EQ(current(), "2");
    EXPECT_TRUE(*engine().isPlaying);
    EXPECT_EQ(titles(*state().playingQueue), "2");
    EXPECT_FALSE(*state().selectedFolder && (*state().selectedFolder)->name() != "lib");
}

TEST_F(SessionTest, theUserIsFasterThanTheWayToTheFolder) {
    addLibrary({{"a/b/c", {"1.wav"}}, {"x", {"2.wav"}}});
    openAndRead("lib/x");
    const Track chosen = shown(0);
    restartWith(folder("lib/a/b/c/1.wav").path(), 0.02);
    const Subscription loaded = engine().currentTrack.subscribe([&](const auto& track) {
        if (track && track->id() != chosen.id()) {
            postToMainThread([&] { state().play(chosen); });
        }
    });
    ASSERT_TRUE(spinUntil([&] { return state().folderScrollRequest->has_value(); }));
    spinFor(1ms);
    EXPECT_EQ(current(), "2");
    EXPECT_EQ(titles(*state().playingQueue), "2");
}

// A start with a file or a folder on its command line.
TEST_F(SessionTest, whatIsOpenedFromOutsideAtTheStartIsNotOvertakenByTheLastTrack) {
    addLibrary({{"old", {"1.wav"}}, {"new", {"2.wav", "3.wav"}}});
    restartWith(folder("lib/old/1.wav").path(), 0.02);
    state().openFromOutside(folder("lib/new"));
    letTagsBeRead();
    ASSERT_TRUE(spinUntil([&] { return state().isFolderLoaded(item("lib/new")); }));
    EXPECT_EQ((*state().selectedFolder)->url(), folder("lib/new"));
    EXPECT_EQ(titles(*state().playbackQueue), "2 3");
    EXPECT_EQ(current(), "none");
    state().willTerminate();
    EXPECT_EQ(storedSettings().path("PlayerLastTrackPath"), folder("lib/old/1.wav").path());

    restartWith(folder("lib/old/1.wav").path(), 0.02);
    state().openFromOutside(folder("lib/new/3.wav"));
    ASSERT_TRUE(spinUntil([&] { return current() == "3"; }));
    letTagsBeRead();
    EXPECT_EQ(current(), "3");
    EXPECT_TRUE(*engine().isPlaying);
    EXPECT_TRUE(state().playbackHistory->isEmpty());
}

TEST_F(SessionTest, aShuffledListPlaysEachOfTheOthersOnce) {
    addLocation("lib", {"1.wav", "2.wav", "3.wav", "4.wav"});
    state().toggleShuffle();
    restartWith(folder("lib/3.wav").path(), 0);
    waitUntilRestored();
    std::set<QByteArray> heard{current()};
    for (int i = 0; i < 3; ++i) {
        const QByteArray promised = queued();
        state().playNext();
        EXPECT_EQ(current(), promised);
        heard.insert(current());
    }
    EXPECT_EQ(heard, (std::set<QByteArray>{"1", "2", "3", "4"}));
    EXPECT_EQ(queued(), "none");
}

TEST_F(SessionTest, theNextFolderIsPreparedWhileStillPaused) {
    addLibrary({{"a", {"1.wav"}}, {"b", {"2.wav"}}});
    state().repeatMode = RepeatMode::nextFolder;
    restartWith(folder("lib/a/1.wav").path(), 0);
    EXPECT_TRUE(spinUntil([&] { return queued() == "2"; }));
    EXPECT_FALSE(*engine().isPlaying);
    engine().resume();
    playTrackToItsEnd();
    EXPECT_EQ(current(), "2");
}

TEST_F(SessionTest, aFileThatCannotBeOpenedIsTold) {
    addLocation("lib", {"1.wav", "2.wav"});
    truncate("lib/1.wav", 10);
    restartWith(folder("lib/1.wav").path(), 0);
    EXPECT_FALSE(takeFailure().isEmpty());
    EXPECT_FALSE(*engine().currentTrack);
}

TEST_F(SessionTest, theLastTrackIsShownWhereNothingIsLoaded) {
    addLocation("lib", {"1.wav", "2.wav", "3.wav"});
    state().settings().setPath("PlayerLastTrackPath", folder("lib/2.wav").path());
    state().refreshFolder(item("lib"));
    ASSERT_TRUE(spinUntil([&] { return state().selectedTrack->has_value(); }));
    EXPECT_EQ(*state().currentIndex, 1);
    EXPECT_FALSE(*engine().currentTrack);

    state().play(shown(2));
    spinFor(1ms);
    state().settings().setPath("PlayerLastTrackPath", folder("lib/1.wav").path());
    state().refreshFolder(item("lib"));
    ASSERT_TRUE(spinUntil([&] { return state().isFolderLoaded(item("lib")); }));
    EXPECT_EQ(*state().currentIndex, 2) << "what is loaded is not overruled";
}

TEST_F(SessionTest, positionIsRememberedWithATrackOnly) {
    state().settings().setNumber("PlayerLastPosition", 42);
    engine().currentTime = 7;
    spinFor(20ms);
    EXPECT_EQ(state().settings().number("PlayerLastPosition"), 42);

    addLocation("m", {"1.wav", "2.wav"});
    openAndRead("m");
    state().play(shown(0));
    EXPECT_EQ(storedSettings().path("PlayerLastTrackPath"), folder("m/1.wav").path());
    playTrackToItsEnd();
    EXPECT_EQ(storedSettings().path("PlayerLastTrackPath"), folder("m/2.wav").path());
    EXPECT_EQ(storedSettings().number("PlayerLastPosition"), 0);
    engine().pause();
    engine().currentTime = 9;
    // The first value after a quiet second passes at once, the latest of those that follow later.
    EXPECT_TRUE(spinUntil([&] { return state().settings().number("PlayerLastPosition") == 9; }));
}

}  // namespace
}  // namespace halvenor::test
