// The playlist on show and the favourites, over real files.
#include <algorithm>

#include "AppStateFixture.h"

namespace halvenor::test {
namespace {

using namespace std::chrono_literals;

class PlaylistTest : public AppStateFixture {
  protected:
    PlaylistManager& manager() { return state().playlistManager(); }
    /// Shows it and waits until its tracks are there.
    void showAndRead(const Playlist& playlist) {
        state().showPlaylist(playlist);
        ASSERT_TRUE(*state().isScanning);
        ASSERT_TRUE(spinUntil([&] { return !*state().isScanning; }));
    }
    QByteArray shownTitles() { return titles(*state().playbackQueue); }
    bool showsSoon(const QByteArray& expected) {
        return spinUntil([&] { return shownTitles() == expected; }, 2s);
    }
};

TEST_F(PlaylistTest, showsTheFilesThatExistInOrderWithTheirTags) {
    addLocation("m", {"1.wav", "2\xFF.wav"});
    openAndRead("m");
    state().selectedTrackIDs = QSet<QByteArray>{folder("m/1.wav").path()};
    const Playlist playlist =
        makePlaylist({"m/2\xFF.wav", "m/gone.wav", "m/1.wav", "elsewhere/3.wav", "m/2\xFF.wav"});
    state().showPlaylist(playlist);
    EXPECT_EQ(*state().openPlaylist, playlist);
    EXPECT_FALSE(state().selectedFolder->has_value());
    EXPECT_TRUE(state().playbackQueue->isEmpty());
    EXPECT_TRUE(state().selectedTrackIDs->isEmpty());
    ASSERT_TRUE(spinUntil([&] { return !*state().isScanning; }));
    EXPECT_EQ(shownTitles(), "2\xFF 1 2\xFF");
    for (const Track& row : *state().playbackQueue) {
        EXPECT_GT(row.duration(), 0);
    }
    EXPECT_EQ(manager().playlists->first(), playlist) << "what is missing stays in the list";
    showAndRead(makePlaylist({"m/gone.wav"}));
    EXPECT_EQ(shownTitles(), "");
}

TEST_F(PlaylistTest, whatIsOpenedLaterStays) {
    makeFolder("n", {"2.wav", "3.wav"});
    addLocation("m", {"1.wav"});
    openAndRead("m");
    const Playlist first = makePlaylist({"n/2.wav"});
    const Playlist second = makePlaylist({"n/3.wav"});
    state().showPlaylist(first);
    state().openFolder(item("m"));
    EXPECT_FALSE(*state().isScanning);
    EXPECT_FALSE(state().openPlaylist->has_value());
    spinFor(50ms);
    EXPECT_EQ(shownTitles(), "1");

    state().showPlaylist(first);
    showAndRead(second);
    spinFor(50ms);
    EXPECT_EQ(shownTitles(), "3");
}

TEST_F(PlaylistTest, theViewFollowsEditsWithoutReadingTheOthersAgain) {
    makeFolder("m", {"1.wav", "2.wav", "3.wav", "4.wav"});
    const Playlist playlist =
        makePlaylist({"m/1.wav", "m/gone.wav", "m/2.wav", "m/3.wav", "m/1.wav"});
    showAndRead(playlist);
    ASSERT_EQ(shownTitles(), "1 2 3 1");
    const Track third = shown(2);
    state().selectedTrackIDs = QSet<QByteArray>{folder("m/2.wav").path(), folder("m/3.wav").path()};
    truncate("m/3.wav");

    manager().removeTrack(track("m/2.wav"), playlist.id);
    ASSERT_TRUE(showsSoon("1 3 1"));
    EXPECT_TRUE(shown(1).sharesRecordWith(third));
    EXPECT_EQ(*state().selectedTrackIDs, QSet<QByteArray>{folder("m/3.wav").path()});
    manager().rename(playlist.id, QStringLiteral("new"));
    ASSERT_TRUE(spinUntil([&] { return (*state().openPlaylist)->name == QStringLiteral("new"); }));

    makeFolder("m", {"gone.wav"});
    state().addToPlaylist(tracks({"m/4.wav", "m/nowhere.wav"}), playlist.id);
    ASSERT_TRUE(showsSoon("1 3 1 4")) << "what was missing is not looked for at every edit";
    EXPECT_GT(shown(3).duration(), 0);
    EXPECT_TRUE(shown(1).sharesRecordWith(third));
    EXPECT_EQ(**state().openPlaylist, manager().playlists->first());
    EXPECT_FALSE(*state().isScanning);
}

TEST_F(PlaylistTest, editsWhileItIsReadArriveToo) {
    makeFolder("m", {"1.wav", "2.wav", "3.wav", "4.wav"});
    const Playlist playlist = makePlaylist({"m/1.wav", "m/2.wav"});
    spinFor(1ms);
    state().showPlaylist(playlist);
    state().addToPlaylist(tracks({"m/3.wav"}), playlist.id);
    manager().removeTrack(track("m/1.wav"), playlist.id);
    ASSERT_TRUE(spinUntil([&] { return !*state().isScanning; }));
    ASSERT_TRUE(showsSoon("2 3"));

    state().addToPlaylist(tracks({"m/1.wav"}), playlist.id);
    spinUntil([&] { return (*state().openPlaylist)->trackURLs.size() == 3; });
    state().addToPlaylist(tracks({"m/4.wav"}), playlist.id);
    ASSERT_TRUE(showsSoon("2 3 1 4")) << "an edit during the reading for the one before";
}

TEST_F(PlaylistTest, aDeletedPlaylistIsOpenNoLonger) {
    makeFolder("m", {"1.wav"});
    const Playlist other = makePlaylist({"m/1.wav"});
    for (const bool directly : {false, true}) {
        const Playlist playlist = makePlaylist({"m/1.wav"});
        state().showPlaylist(playlist);
        state().deletePlaylist(QUuid::createUuid());
        EXPECT_EQ(*state().openPlaylist, playlist);
        if (directly) {
            manager().deletePlaylist(playlist.id);
        } else {
            state().deletePlaylist((*state().openPlaylist)->id);
        }
        ASSERT_TRUE(spinUntil([&] { return !state().openPlaylist->has_value(); }));
        EXPECT_FALSE(*state().isScanning);
        spinFor(20ms);
        EXPECT_EQ(shownTitles(), "") << "the reading for it has ended";
        EXPECT_EQ(*manager().playlists, Playlists{other});
    }
}

TEST_F(PlaylistTest, rowsFollowAFileThatMoves) {
    makeFolder("m/a", {"1.wav", "2.wav"});
    addLocation("m");
    const Playlist playlist = makePlaylist({"m/a/1.wav", "m/a/2.wav"});
    showAndRead(playlist);
    ASSERT_TRUE(spinUntil([&] {
        return std::ranges::any_of(state().relocationStore().records(), [&](const auto& record) {
            return record.path == folder("m/a/2.wav").path();
        });
    }));
    state().selectedTrackIDs = QSet<QByteArray>{folder("m/a/2.wav").path()};
    truncate("m/a/1.wav");
    moveItem("m/a/2.wav", "m/two.wav");
    state().checkRelocations();
    ASSERT_TRUE(showsSoon("1 two"));
    ASSERT_TRUE(spinUntil([&] { return **state().openPlaylist == manager().playlists->first(); }));
    EXPECT_EQ(*state().selectedTrackIDs, QSet<QByteArray>{folder("m/two.wav").path()});
    EXPECT_GT(shown(0).duration(), 0) << "read once";
    EXPECT_GT(shown(1).duration(), 0);
}

TEST_F(PlaylistTest, favoritesFollowTheirPlaylistAndSurviveARestart) {
    const auto isFavoriteSoon = [&](const Track& each, bool expected) {
        return spinUntil([&] { return state().isFavorite(each) == expected; }, 2s);
    };
    EXPECT_FALSE(state().isFavorite(track("m/1.wav")));
    state().toggleFavorite(track("m/1.wav"));
    state().toggleFavorite(track("m/2\xFF.wav"));
    EXPECT_TRUE(isFavoriteSoon(track("m/1.wav"), true));
    EXPECT_TRUE(state().isFavorite(track("m/./x/../1.wav"))) << "the same place";

    startState();
    EXPECT_TRUE(isFavoriteSoon(track("m/2\xFF.wav"), true));
    EXPECT_TRUE(state().isFavorite(track("m/1.wav")));

    state().toggleFavorite(track("m/1.wav"));
    EXPECT_TRUE(isFavoriteSoon(track("m/1.wav"), false));
    state().toggleFavorite(track("m/1.wav"));
    state().toggleFavorite(track("m/1.wav"));
    spinFor(20ms);
    EXPECT_FALSE(state().isFavorite(track("m/1.wav"))) << "twice in a turn is there and back";
    EXPECT_EQ(manager().playlists->size(), 1);

    state().deletePlaylist(manager().favoritesPlaylist().id);
    EXPECT_TRUE(isFavoriteSoon(track("m/2\xFF.wav"), false));
    EXPECT_TRUE(state().favoriteTrackPaths->isEmpty());
}

}  // namespace
}  // namespace halvenor::test
