#include <gmock/gmock.h>
#include <initializer_list>
#include <sys/stat.h>

#include "relocation/FileTools.h"
#include "relocation/Fingerprint.h"
#include "relocation/MoveDetection.h"
#include "relocation/RelocationStore.h"
#include "support/TemporaryFolder.h"

namespace halvenor {
namespace {

// An album that was remembered at old/ and now is at new/.
struct Album {
    Album() {
        folder.makeFile("new/1.mp3", test::noise(1000, 1));
        folder.makeFile("new/CD 2/2.flac", test::noise(300'000, 2));
        folder.makeFile("new/cover.jpg", "cover");
        const auto path = [this](const char* name) { return at(name).path(); };
        records = remappedRecords(
            prepared({}, {path("1.mp3"), path("CD 2/2.flac")}, {folder.path("new"), path("CD 2")}),
            {{folder.path("new"), folder.path("old")}});
    }

    FileUrl at(const char* name) const { return folder.at(QByteArray("new/") + name); }
    void remove(const char* name) const { test::remove(at(name)); }
    // One byte of the file becomes another.
    void change(const char* name, int64_t offset) const { test::overwrite(at(name), offset, "x"); }
    void setMode(const char* name, mode_t mode) const {
        ASSERT_EQ(::chmod(at(name).path().constData(), mode), 0);
    }
    // Forgets the other records.
    void keep(std::initializer_list<qsizetype> indices) {
        RelocationRecords kept;
        for (const qsizetype index : indices) {
            kept.append(records[index]);
        }
        records = kept;
    }

    bool isValid() const { return validate(records, folder.path("old"), folder.path("new")); }

    test::TemporaryFolder folder;
    test::Unprivileged rights{folder};
    RelocationRecords records;
};

TEST(Verification, AcceptsWhatHoldsAllThatIsRememberedAndNothingLess) {
    struct Case {
        const char* name;
        void (*change)(Album&);
    };
    const Case accepted[] = {
        {"nothing else", [](Album&) {}},
        {"more files", [](Album& album) { album.folder.makeFile("new/CD 2/3.flac", "more"); }},
        {"a file without a record changed", [](Album& album) { album.change("cover.jpg", 0); }},
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
             album.keep({0, 2});
         }},
        {"records of other places",
         [](Album& album) {
             album.records.prepend(album.records[1]);
             album.records[0].path = album.folder.path("older/missing.mp3");
         }},
    };
    const Case refused[] = {
        {"a remembered file is gone",
         [](Album& album) {
             album.records[0].children.reset();
             album.records[0].witnesses.reset();
             album.remove("1.mp3");
         }},
        {"a child without a record is gone", [](Album& album) { album.remove("cover.jpg"); }},
        {"a folder is in a file's place",
         [](Album& album) {
             album.keep({1, 2, 3});
             album.remove("1.mp3");
             album.folder.makeFolder("new/1.mp3");
         }},
        {"a file is in a folder's place",
         [](Album& album) {
             album.keep({1, 2});
             album.records[1].children.reset();
             album.records[1].witnesses.reset();
             test::move(album.at("CD 2"), album.folder.at("away"));
             album.folder.makeFile("new/CD 2");
         }},
        {"a file has other content",
         [](Album& album) {
             album.keep({1, 3});
             album.change("CD 2/2.flac", 150'000);
         }},
        {"a witness has other content",
         [](Album& album) {
             album.keep({0, 1});
             album.change("CD 2/2.flac", 150'000);
         }},
        {"a witness is gone",
         [](Album& album) {
             album.keep({0, 1});
             album.remove("CD 2/2.flac");
         }},
        {"a file has another size", [](Album& album) { album.change("1.mp3", 1000); }},
        {"a file can't be read", [](Album& album) { album.setMode("1.mp3", 0); }},
        {"a folder can't be listed", [](Album& album) { album.setMode("CD 2", 0300); }},
        {"a pipe is in a file's place",
         [](Album& album) {
             album.keep({1, 2, 3});
             album.remove("1.mp3");
             EXPECT_EQ(::mkfifo(album.at("1.mp3").path().constData(), 0600), 0);
         }},
        {"nothing is known of a file's content",
         [](Album& album) { album.records[3].fingerprint.reset(); }},
        {"only names could be compared",
         [](Album& album) {
             album.keep({0, 2});
             album.records[0].witnesses->clear();
             album.records[1].witnesses.reset();
         }},
        {"nothing is remembered", [](Album& album) { album.records.clear(); }},
    };
    for (const Case& c : accepted) {
        Album album;
        c.change(album);
        EXPECT_TRUE(album.isValid()) << c.name;
    }
    for (const Case& c : refused) {
        Album album;
        c.change(album);
        EXPECT_FALSE(album.isValid()) << c.name;
        album.setMode("CD 2", 0700);
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
