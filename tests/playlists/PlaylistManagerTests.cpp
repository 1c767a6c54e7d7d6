#include <gmock/gmock.h>
#include <vector>

#include "PlaylistFixture.h"
#include "playlists/PlaylistManager.h"

namespace halvenor::test {
namespace {

class Editing : public PlaylistFixture {
  protected:
    QUuid make(const std::vector<const char*>& paths, const char* name = "p") {
        QList<Track> tracks;
        for (const char* path : paths) {
            tracks.append(trackAt(path));
        }
        return manager().createPlaylist(QString::fromUtf8(name), tracks).id;
    }
    // The names and paths of all playlists, as "name: path path; ...".
    QByteArray state() {
        QList<QByteArray> all;
        for (const Playlist& playlist : *manager().playlists) {
            QByteArray text = playlist.name.toUtf8() + ":";
            for (const FileUrl& url : playlist.trackURLs) {
                text += ' ' + url.path();
            }
            all.append(text);
        }
        return all.join("; ");
    }
};

TEST_F(Editing, TracksComeAndGo) {
    const QUuid id = make({"/a", "/b", "/a"});
    EXPECT_EQ(state(), "p: /a /b /a") << "made with what is given, twice or not";
    manager().addTrack(trackAt("/b"), id);
    EXPECT_EQ(state(), "p: /a /b /a");
    manager().addTracks({trackAt("/c"), trackAt("/a"), trackAt("/d"), trackAt("/c")}, id);
    EXPECT_EQ(state(), "p: /a /b /a /c /d");
    manager().removeTrack(trackAt("/a"), id);
    EXPECT_EQ(state(), "p: /b /c /d");
    manager().addTrack(trackAt("/x/../y"), id);
    manager().removeTrack(trackAt("/y"), id);
    EXPECT_EQ(state(), "p: /b /c /d") << "a place is one place, however it is written";
    manager().addTracks({Track(), trackAt("relative")}, id);
    EXPECT_EQ(state(), "p: /b /c /d") << "what is no place on the disk could not be read again";
}

TEST_F(Editing, NamesAreTrimmedOnlyOnRenaming) {
    const QUuid id = make({}, "  new \n");
    EXPECT_EQ(state(), "  new \n:");
    for (const char16_t* empty : {u"", u" \t\n", u"\u3000\u2028\u00A0"}) {
        manager().rename(id, QStringView(empty).toString());
        EXPECT_EQ(state(), "  new \n:");
    }
    manager().rename(id, QStringLiteral("\n a  b\u2029"));
    EXPECT_EQ(state(), "a  b:");
}

TEST_F(Editing, OnlyThePlaylistThatIsMeantChanges) {
    const QUuid first = make({"/a"}, "1");
    const QUuid second = make({"/a"}, "1");
    manager().addTrack(trackAt("/b"), second);
    manager().rename(second, QStringLiteral("2"));
    manager().removeTrack(trackAt("/a"), second);
    EXPECT_EQ(state(), "1: /a; 2: /b");
    manager().deletePlaylist(first);
    EXPECT_EQ(state(), "2: /b");
}

TEST_F(Editing, WhatChangesNothingIsNotTold) {
    const QUuid id = make({"/a", "/b"});
    int told = 0;
    const Subscription heard = manager().playlists.subscribe([&](const Playlists&) { ++told; });
    const QUuid unknown = QUuid::createUuid();
    manager().deletePlaylist(unknown);
    manager().rename(unknown, QStringLiteral("n"));
    manager().addTrack(trackAt("/c"), unknown);
    manager().addTracks({trackAt("/c")}, unknown);
    manager().removeTrack(trackAt("/a"), unknown);
    manager().addTrack(trackAt("/a"), id);
    manager().addTracks({trackAt("/b"), trackAt("/a")}, id);
    manager().removeTrack(trackAt("/c"), id);
    manager().rename(id, QStringLiteral(" p "));
    manager().relocatePaths({{"/elsewhere", "/new"}});
    EXPECT_EQ(told, 0);

    manager().addTracks({trackAt("/c"), trackAt("/d")}, id);
    EXPECT_EQ(told, 1) << "many tracks are one change";
}

TEST_F(Editing, FavoritesAreTheFirstPlaylistOfThatName) {
    EXPECT_TRUE(manager().favoriteTrackPaths().isEmpty());
    make({"/lower"}, "favorites");
    const Playlist made = manager().favoritesPlaylist();
    EXPECT_EQ(state(), "favorites: /lower; Favorites:");
    EXPECT_EQ(manager().favoritesPlaylist(), made);

    make({"/second"}, "Favorites");
    manager().addTracks({trackAt("/x/./a"), trackAt("/b")}, made.id);
    EXPECT_EQ(manager().favoriteTrackPaths(), (QSet<QByteArray>{"/x/a", "/b"}));

    manager().rename(made.id, QStringLiteral("old"));
    EXPECT_EQ(manager().favoriteTrackPaths(), QSet<QByteArray>{"/second"});
    manager().deletePlaylist(manager().favoritesPlaylist().id);
    EXPECT_TRUE(manager().favoriteTrackPaths().isEmpty());
    EXPECT_TRUE(manager().favoritesPlaylist().trackURLs.isEmpty()) << "a new one";
}

TEST_F(Editing, PathsFollowMovesAndCollapse) {
    make({"/m/a", "/m/a", "/n/b", "/n/b"}, "1");
    make({"/m/x", "/m/y", "/m/deep/z", "/mm/x", "/k/./y"}, "2");
    manager().relocatePaths({{"/m", "/k"}, {"/m/deep", "/other"}});
    EXPECT_EQ(state(), "1: /k/a /n/b; 2: /k/x /k/y /other/z /mm/x");
}

}  // namespace
}  // namespace halvenor::test
