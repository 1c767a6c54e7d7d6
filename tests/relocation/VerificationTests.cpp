#include <functional>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <vector>

#include "relocation/FileTools.h"
#include "relocation/Fingerprint.h"
#include "relocation/FolderContents.h"
#include "relocation/MoveDetection.h"
#include "support/TemporaryFolder.h"

namespace halvenor {
namespace {

// An album that was remembered at old/ and now is at new/.
struct Album {
    Album() {
        folder.makeFile("new/1.mp3", test::noise(1000, 1));
        folder.makeFile("new/CD 2/2.flac", test::noise(300'000, 2));
        folder.makeFile("new/cover.jpg", "cover");
        records = {remembered("", true), remembered("/1.mp3", false), remembered("/CD 2", true),
                   remembered("/CD 2/2.flac", false)};
    }

    // The record of what is at new + `below`, from when it was at old + `below`.
    RelocationRecord remembered(const QByteArray& below, bool isDirectory) const {
        const FileUrl now(folder.path("new") + below);
        RelocationRecord record;
        record.id = QUuid::createUuid();
        record.path = folder.path("old") + below;
        record.isDirectory = isDirectory;
        if (isDirectory) {
            record.children = childrenAt(now);
            record.witnesses = witnessesIn(now);
        } else {
            record.fingerprint = fingerprint(now);
        }
        return record;
    }

    bool isValid() const { return validate(records, folder.path("old"), folder.path("new")); }

    test::TemporaryFolder folder;
    test::Unprivileged rights{folder};
    RelocationRecords records;
};

struct Case {
    const char* name;
    std::function<void(Album&)> change;
};

TEST(Verification, AcceptsWhatHoldsAllThatIsRemembered) {
    const std::vector<Case> cases = {
        {"nothing else", [](Album&) {}},
        {"more files", [](Album& album) { album.folder.makeFile("new/CD 2/3.flac", "more"); }},
        {"a file without a record changed",
         [](Album& album) { test::overwrite(album.folder.at("new/cover.jpg"), 0, "other"); }},
        {"other dates and bookmarks",
         [](Album& album) {
             album.records[1].modified = 1;
             album.records[1].bookmark = "of no use";
         }},
        {"links to the same",
         [](Album& album) {
             test::move(album.folder.at("new"), album.folder.at("elsewhere"));
             album.folder.makeLink("new", "elsewhere");
         }},
        {"no witnesses, and a file that proves it",
         [](Album& album) {
             album.records[0].witnesses.reset();
             album.records[2].witnesses->clear();
         }},
        {"no files, and witnesses that prove it",
         [](Album& album) {
             album.records = {album.records[0], album.records[2]};
         }},
        {"records of other places",
         [](Album& album) {
             RelocationRecord other = album.records[1];
             other.path = album.folder.path("older/missing.mp3");
             album.records.prepend(other);
         }},
    };
    for (const Case& c : cases) {
        Album album;
        c.change(album);
        EXPECT_TRUE(album.isValid()) << c.name;
    }
}

TEST(Verification, RefusesWhatLacksSomething) {
    const auto cases = std::vector<Case>{
        {"a remembered file is gone",
         [](Album& album) {
             album.records[0].children.reset();
             album.records[0].witnesses.reset();
             test::remove(album.folder.at("new/1.mp3"));
         }},
        {"a child without a record is gone",
         [](Album& album) { test::remove(album.folder.at("new/cover.jpg")); }},
        {"a folder is in a file's place",
         [](Album& album) {
             album.records = {album.records[1], album.records[2], album.records[3]};
             test::remove(album.folder.at("new/1.mp3"));
             album.folder.makeFolder("new/1.mp3");
         }},
        {"a file is in a folder's place",
         [](Album& album) {
             album.records[2].children.reset();
             album.records[2].witnesses.reset();
             album.records = {album.records[1], album.records[2]};
             test::move(album.folder.at("new/CD 2"), album.folder.at("away"));
             album.folder.makeFile("new/CD 2");
         }},
        {"a file has other content",
         [](Album& album) {
             album.records = {album.records[1], album.records[3]};
             test::overwrite(album.folder.at("new/CD 2/2.flac"), 150'000, "x");
         }},
        {"a witness has other content",
         [](Album& album) {
             album.records = {album.records[0], album.records[1]};
             test::overwrite(album.folder.at("new/CD 2/2.flac"), 150'000, "x");
         }},
        {"a witness is gone",
         [](Album& album) {
             album.records = {album.records[0], album.records[1]};
             test::remove(album.folder.at("new/CD 2/2.flac"));
         }},
        {"a file has another size",
         [](Album& album) { test::overwrite(album.folder.at("new/1.mp3"), 1000, "x"); }},
        {"a file can't be read",
         [](Album& album) {
             EXPECT_EQ(::chmod(album.folder.path("new/1.mp3").constData(), 0), 0);
         }},
        {"a folder can't be listed",
         [](Album& album) {
             EXPECT_EQ(::chmod(album.folder.path("new/CD 2").constData(), 0300), 0);
         }},
        {"a pipe is in a file's place",
         [](Album& album) {
             album.records.removeFirst();
             test::remove(album.folder.at("new/1.mp3"));
             EXPECT_EQ(::mkfifo(album.folder.path("new/1.mp3").constData(), 0600), 0);
         }},
        {"nothing is known of a file's content",
         [](Album& album) { album.records[3].fingerprint.reset(); }},
        {"only names could be compared",
         [](Album& album) {
             album.records = {album.records[0], album.records[2]};
             album.records[0].witnesses->clear();
             album.records[1].witnesses.reset();
         }},
        {"nothing is remembered", [](Album& album) { album.records.clear(); }},
    };
    for (const Case& c : cases) {
        Album album;
        ASSERT_TRUE(album.isValid()) << "before " << c.name;
        c.change(album);
        EXPECT_FALSE(album.isValid()) << c.name;
        ::chmod(album.folder.path("new/CD 2").constData(), 0700);
    }
}

TEST(Verification, RefusesAFolderForItselfAndForOneInIt) {
    // The same bytes at each of them, so that nothing but the paths speaks against it.
    const test::TemporaryFolder folder;
    RelocationRecords records;
    for (const char* name : {"a/1.mp3", "a/b/1.mp3", "ab/1.mp3", "1.mp3"}) {
        RelocationRecord record;
        record.path = folder.makeFile(name, "same").path();
        record.fingerprint = fingerprint(FileUrl(record.path));
        records.append(record);
    }
    const QByteArray a = folder.path("a");
    const QByteArray below = folder.path("a/b");
    const QByteArray beside = folder.path("ab");
    EXPECT_FALSE(validate(records, a, a));
    EXPECT_FALSE(validate({records[1]}, below, a));
    EXPECT_FALSE(validate({records[0]}, a, below));
    EXPECT_FALSE(validate({records[0]}, a, "/"));
    EXPECT_TRUE(validate({records[0]}, a, beside)) << "a name that only begins alike";
}

TEST(Verification, StopsWhenAsked) {
    const Album album;
    std::stop_source source;
    source.request_stop();
    EXPECT_FALSE(validate(album.records, album.folder.path("old"), album.folder.path("new"),
                          source.get_token()));
}

}  // namespace
}  // namespace halvenor
