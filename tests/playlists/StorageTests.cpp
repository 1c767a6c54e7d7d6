// What is in the file, whatever the disk does; and M3U files beside it.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "PlaylistFixture.h"
#include "base/AtomicFile.h"
#include "base/Error.h"
#include "base/FileStatus.h"
#include "support/EventLoop.h"

namespace halvenor::test {
namespace {

using Storage = PlaylistFixture;

TEST_F(Storage, EveryChangeSurvivesARestart) {
    EXPECT_TRUE(restart().playlists->isEmpty());
    restart();
    EXPECT_FALSE(itemExists(storage().deletingLastPathComponent())) << "nothing was made yet";
    const QList<Track> tracks = {trackAt("/m/100% \"#?\"\n\xE9\xFF"), trackAt("/gone/1"),
                                 trackAt("/gone/1")};
    const QUuid first = manager().createPlaylist(QStringLiteral("one \xE9"), tracks).id;
    const QUuid second = manager().createPlaylist(QStringLiteral("one \xE9"), {}).id;
    const auto survives = [&](const char* change) {
        const Playlists before = *manager().playlists;
        EXPECT_EQ(*restart().playlists, before) << change;
    };
    survives("create");
    EXPECT_EQ(manager().playlists->at(0).trackURLs.at(0).path(), "/m/100% \"#?\"\n\xE9\xFF");
    manager().addTrack(trackAt("/a"), second);
    survives("add");
    manager().removeTrack(trackAt("/gone/1"), first);
    survives("remove");
    manager().rename(second, QStringLiteral("two"));
    survives("rename");
    manager().relocatePaths({{"/a", "/b"}});
    survives("relocate");
    manager().favoritesPlaylist();
    survives("favorites");
    manager().deletePlaylist(first);
    survives("delete");
    EXPECT_EQ(manager().playlists->size(), 2);
    EXPECT_EQ(manager().playlists->at(0).trackURLs, QList<FileUrl>{FileUrl("/b")});
}

TEST_F(Storage, ADamagedFileIsKeptAsideBeforeItIsOverwritten) {
    const FileUrl copy(storage().path() + ".damaged-1");
    const QByteArray damaged = R"([{"name":"p","trackURLs":[]}])";
    directory().makeFile("data/playlists.json", damaged);
    EXPECT_TRUE(restart().playlists->isEmpty());
    ASSERT_TRUE(manager().flush());
    EXPECT_EQ(readFile(storage()), damaged) << "untouched until there is something to save";
    manager().createPlaylist(QStringLiteral("new"), {});
    ASSERT_TRUE(manager().flush());
    EXPECT_EQ(readFile(copy), damaged);
    EXPECT_EQ(restart().playlists->size(), 1);
}

TEST_F(Storage, ImportMakesAPlaylistNamedAsTheFile) {
    const FileUrl file =
        directory().makeFile("My.Mix \xE9.m3u8", "#EXTM3U\r\n/m/1.mp3\r\nhere/2\r\n");
    const Playlist imported = runToCompletion(manager().importM3U(file));
    EXPECT_EQ(imported.name, QStringLiteral("My.Mix \uFFFD"));
    ASSERT_EQ(imported.trackURLs.size(), 2);
    EXPECT_EQ(imported.trackURLs[0], FileUrl("/m/1.mp3"));
    char here[4096] = {};
    ASSERT_NE(::getcwd(here, sizeof here), nullptr);
    EXPECT_EQ(imported.trackURLs[1], FileUrl(QByteArray(here) + "/here/2"));
    EXPECT_EQ(*restart().playlists, Playlists{imported});
    EXPECT_NE(runToCompletion(manager().importM3U(file)).id, imported.id)
        << "twice is two playlists";
}

TEST_F(Storage, AnImportThatFailsLeavesNothing) {
    directory().makeFile("latin.m3u", "/m/caf\xE9.mp3\n");
    directory().makeFolder("folder.m3u");
    const FileUrl large = directory().makeFile("large.m3u");
    ASSERT_EQ(::truncate(large.path().constData(), (64 << 20) + 1), 0);
    const std::vector<std::pair<const char*, ErrorKind>> cases = {{"latin.m3u", ErrorKind::format},
                                                                  {"large.m3u", ErrorKind::format},
                                                                  {"folder.m3u", ErrorKind::io},
                                                                  {"missing.m3u", ErrorKind::io}};
    for (const auto& [name, kind] : cases) {
        EXPECT_THAT([&] { runToCompletion(manager().importM3U(directory().at(name))); },
                    testing::Throws<Error>(testing::Property(&Error::kind, kind)))
            << name;
    }
    EXPECT_TRUE(manager().playlists->isEmpty());
    ASSERT_TRUE(manager().flush());
    EXPECT_FALSE(itemExists(storage()));
}

TEST_F(Storage, AnImportThatOutlastsTheManagerAddsNothing) {
    auto importing = manager().importM3U(directory().makeFile("list.m3u", "/m/1.mp3\n"));
    EXPECT_TRUE(restart().playlists->isEmpty());
    EXPECT_THROW(runToCompletion(std::move(importing)), Cancelled);
    EXPECT_TRUE(restart().playlists->isEmpty());
}

TEST_F(Storage, ExportWritesAllOrNothing) {
    const FileUrl file = directory().at("out \xFF.m3u");
    const Playlist playlist{QUuid(), QStringLiteral("p"), {FileUrl("/m/a"), FileUrl("/m/\xE9")}};
    runToCompletion(manager().exportToM3U(playlist, file));
    EXPECT_EQ(readFile(file), "#EXTM3U\n/m/a\n/m/\xE9\n");
    struct stat status = {};
    ASSERT_EQ(::stat(file.path().constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0644U);

    const Playlist twoLines{QUuid(), QStringLiteral("p"), {FileUrl("/m/a\nb")}};
    EXPECT_THROW(runToCompletion(manager().exportToM3U(twoLines, file)), Error);
    EXPECT_EQ(readFile(file), "#EXTM3U\n/m/a\n/m/\xE9\n");
    EXPECT_THROW(
        runToCompletion(manager().exportToM3U(playlist, directory().at("missing/out.m3u"))), Error);
    EXPECT_TRUE(manager().playlists->isEmpty()) << "an export is no change";
}

}  // namespace
}  // namespace halvenor::test
