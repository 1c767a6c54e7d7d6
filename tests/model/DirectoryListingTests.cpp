#include <atomic>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "model/AudioExtensions.h"
#include "model/scanner/DirectoryListing.h"
#include "support/TemporaryFolder.h"

namespace halvenor {
namespace {

using test::TemporaryFolder;
using testing::ElementsAre;

std::vector<std::string> namesOf(const TrackList& tracks) {
    std::vector<std::string> names;
    for (const Track& track : tracks) {
        names.push_back(track.url().lastPathComponent().toStdString());
    }
    return names;
}

std::vector<std::string> namesOf(const FolderList& folders) {
    std::vector<std::string> names;
    for (const FolderItem& folder : folders) {
        names.push_back(folder.name().toStdString());
    }
    return names;
}

TEST(DirectoryListing, ListsFoldersAndTracksInNaturalOrder) {
    const TemporaryFolder folder;
    for (const char* name :
         {"Track 10.mp3", "track 2.MP3", "Track 1.flac", "cover.jpg", "noextension", ".hidden.mp3",
          "a.m4a", "b.Wav", "c.aiff", "d.AIF", "e.aac", "f.oGG", "g.alac", "h.opus", "i.mp3x",
          "j.mp", "k.", "l.mp3.part", "\xff\xe9.mp3"}) {
        folder.makeFile(name);
    }
    for (const char* name : {"CD 10", "cd 2", "Album.mp3", ".hidden", "\xe9t\xe9"}) {
        folder.makeFolder(name);
    }
    folder.makeLink("link.mp3", "a.m4a");
    folder.makeLink("link", "CD 10");
    folder.makeLink("dangling.mp3", "nowhere");
    ASSERT_EQ(::mkfifo(folder.path("pipe.mp3").constData(), 0600), 0);

    const DirectorySnapshot listing = listDirectory(folder.url());
    EXPECT_THAT(namesOf(listing.tracks),
                ElementsAre("a.m4a", "b.Wav", "c.aiff", "d.AIF", "e.aac", "f.oGG", "g.alac",
                            "Track 1.flac", "track 2.MP3", "Track 10.mp3", "\xff\xe9.mp3"));
    EXPECT_THAT(namesOf(listing.folders), ElementsAre("Album.mp3", "cd 2", "CD 10", "\xe9t\xe9"));
    for (const Track& track : listing.tracks) {
        const QByteArray extension = track.url().pathExtension().toLower();
        EXPECT_TRUE(supportedExtensions().contains(extension)) << extension.constData();
        EXPECT_EQ(track.format().toStdString(), extension.toUpper().toStdString());
        EXPECT_EQ(::access(track.id().constData(), F_OK), 0) << "the path is the file's, exactly";
    }
    EXPECT_EQ(supportedExtensions().size(), 9);
}

TEST(DirectoryListing, MakesSkeletons) {
    const TemporaryFolder folder;
    folder.makeFile("Album \xff/01. So. What\xe9.Mp3", QByteArray(1234, 'x'));
    const FileUrl album = folder.at("Album \xff");
    const DirectorySnapshot listing = listDirectory(album);
    ASSERT_EQ(listing.tracks.size(), 1);
    TrackFields expected;
    expected.url = FileUrl(album.path() + "/01. So. What\xe9.Mp3");
    expected.title = QStringLiteral("01. So. What\uFFFD");
    expected.artist = expected.albumArtist = QString();
    expected.album = QStringLiteral("Album \uFFFD");
    expected.format = QStringLiteral("MP3");
    expected.fileSize = 1234;
    EXPECT_EQ(listing.tracks.first(), Track(expected));
}

TEST(DirectoryListing, FolderItemsAreBareNamesOfPlaces) {
    const TemporaryFolder folder;
    const FileUrl child = folder.makeFolder("child");
    folder.makeFile("child/a.mp3");
    EXPECT_EQ(listDirectory(folder.url()).folders, FolderList{FolderItem(child, true)});
    EXPECT_EQ(listDirectory(FileUrl("/")).folders.empty(), false);
    EXPECT_TRUE(listDirectory(FileUrl("/")).folders.front().id().startsWith('/'));
    EXPECT_FALSE(listDirectory(FileUrl("/")).folders.front().id().startsWith("//"));
}

TEST(DirectoryListing, WhatCannotBeReadIsEmpty) {
    const TemporaryFolder folder;
    const test::Unprivileged rights(folder);
    folder.makeFile("closed/a.mp3");
    folder.makeFile("unsearchable/a.mp3", "12345");
    ASSERT_EQ(::chmod(folder.path("closed").constData(), 0300), 0);
    ASSERT_EQ(::chmod(folder.path("unsearchable").constData(), 0400), 0);
    folder.makeFile("file.mp3");
    for (const char* name : {"closed", "missing", "file.mp3", "file.mp3/x", "missing/x"}) {
        const DirectorySnapshot listing = listDirectory(folder.at(name));
        EXPECT_TRUE(listing.folders.empty() && listing.tracks.isEmpty()) << name;
    }
    EXPECT_TRUE(listDirectory(FileUrl()).tracks.isEmpty());
    const DirectorySnapshot sizeless = listDirectory(folder.at("unsearchable"));
    ASSERT_EQ(sizeless.tracks.size(), 1) << "an entry is listed though nothing is known of it";
    EXPECT_EQ(sizeless.tracks.first().fileSize(), 0);
}

TEST(DirectoryListing, FollowsTheFolderItIsGivenButNoneInIt) {
    const TemporaryFolder folder;
    folder.makeFile("real/a.mp3");
    const FileUrl link = folder.makeLink("link", "real");
    const DirectorySnapshot listing = listDirectory(link);
    ASSERT_EQ(listing.tracks.size(), 1);
    EXPECT_EQ(listing.tracks.first().id(), link.path() + "/a.mp3");
}

TEST(DirectoryListing, AStoppedListingIsEmpty) {
    const TemporaryFolder folder;
    folder.makeFile("a.mp3");
    std::stop_source source;
    EXPECT_EQ(listDirectory(folder.url(), source.get_token()).tracks.size(), 1);
    source.request_stop();
    EXPECT_TRUE(listDirectory(folder.url(), source.get_token()).tracks.isEmpty());
}

// Files come and go, and the folder itself with them, while it is listed again and again.
TEST(DirectoryListing, SurvivesAFolderThatChangesUnderIt) {
    const TemporaryFolder folder;
    std::atomic<bool> isDone = false;
    std::thread churn([&] {
        for (int round = 0; round < 30; ++round) {
            for (int number = 0; number < 100; ++number) {
                folder.makeFile("album/" + QByteArray::number(number) + ".mp3");
            }
            for (int number = 0; number < 100; ++number) {
                ::unlink(folder.path("album/" + QByteArray::number(number) + ".mp3").constData());
            }
            ::rmdir(folder.path("album").constData());
        }
        isDone = true;
    });
    while (!isDone) {
        const DirectorySnapshot listing = listDirectory(folder.at("album"));
        EXPECT_LE(listing.tracks.size(), 100);
    }
    churn.join();
}

}  // namespace
}  // namespace halvenor
