#include <gmock/gmock.h>

#include "base/AtomicFile.h"
#include "base/FileStatus.h"
#include "relocation/FileTools.h"
#include "relocation/MoveDetection.h"
#include "relocation/RecordDate.h"
#include "relocation/RelocationStore.h"
#include "support/TemporaryFolder.h"

namespace halvenor {
namespace {

using testing::Each;
using testing::IsEmpty;

using Paths = QSet<QByteArray>;

// A Location with a remembered album, and a resolver that was told of it. As in a later run, the
// records have been through the file.
class MoveDetection : public testing::Test {
  protected:
    MoveDetection() {
        for (const char* name : {"1.mp3", "2.mp3", "CD 2/3.mp3"}) {
            const FileUrl file =
                folder.makeFile(QByteArray("library/album/") + name, test::noise(100'000, name[0]));
            files.insert(file.path());
            // Not of this moment: what may still be written to is looked at twice.
            test::setModified(file, 1'577'836'800.5);
        }
        folder.makeFolder("library/other");
        folder.makeFolder("outside");
        folders = {path("library"), path("library/album"), path("library/album/CD 2")};
        records = decodedRecords(encodedRecords(prepared({}, files, folders)));
        resolver.setLocations({path("library")});
    }

    QByteArray path(const QByteArray& relative) const { return folder.path(relative); }
    void move(const QByteArray& from, const QByteArray& to) const {
        test::move(folder.at(from), folder.at(to));
    }

    ResolvedMoves resolved(const Paths& mayGoAnywhere = {}) {
        return resolvedMoves(records, mayGoAnywhere, resolver);
    }

    // What the program does after it has accepted the moves.
    void accept(const ResolvedMoves& found) {
        const auto remapAll = [&](Paths& paths) {
            Paths moved;
            for (const QByteArray& path : paths) {
                moved.insert(remapped(path, found.moves));
            }
            paths = moved;
        };
        remapAll(files);
        remapAll(folders);
        records = prepared(remappedRecords(records, found.moves), files, folders, found);
    }

    test::TemporaryFolder folder;
    Paths files;
    Paths folders;
    RelocationRecords records;
    BookmarkResolver resolver;
};

TEST_F(MoveDetection, SeesEverythingInItsPlace) {
    const ResolvedMoves found = resolved();
    EXPECT_THAT(found.moves, IsEmpty());
    EXPECT_THAT(found.stale, IsEmpty());
    ASSERT_EQ(found.dates.size(), static_cast<size_t>(records.size()));
    for (size_t place = 0; place < found.dates.size(); ++place) {
        const FileUrl url(records[static_cast<qsizetype>(place)].path);
        EXPECT_EQ(found.dates[place], recordDate(fileStatus(url)->modified));
    }
    const int64_t before = test::bytesRead();
    const RelocationRecords after = prepared(records, files, folders, found);
    EXPECT_EQ(after.constData(), records.constData());
    EXPECT_LT(test::bytesRead() - before, 1024);
}

TEST_F(MoveDetection, FollowsAFileAndThenItsFolder) {
    move("library/album/1.mp3", "library/other/one \xff.mp3");
    ResolvedMoves found = resolved();
    EXPECT_EQ(found.moves,
              (MoveTable{{path("library/album/1.mp3"), path("library/other/one \xff.mp3")}}));
    accept(found);

    move("library/album", "library/other/album");
    found = resolved();
    EXPECT_EQ(found.moves.value(path("library/album")), path("library/other/album"));
    EXPECT_EQ(remapped(path("library/album/CD 2/3.mp3"), found.moves),
              path("library/other/album/CD 2/3.mp3"));
    EXPECT_FALSE(found.moves.contains(path("library/other/one \xff.mp3")));
    const RelocationRecords before = records;
    accept(found);
    for (qsizetype index = 0; index < before.size(); ++index) {
        const RelocationRecord& record = records[index];
        EXPECT_TRUE(itemExists(FileUrl(record.path))) << record.path.constData();
        EXPECT_EQ(record.id, before[index].id);
        EXPECT_EQ(record.fingerprint, before[index].fingerprint);
        if (record.path != path("library")) {
            EXPECT_EQ(record.modified, before[index].modified) << "nothing is looked at again";
        }
    }
    EXPECT_EQ(records.size(), 6);
    EXPECT_THAT(resolved().moves, IsEmpty());
}

TEST_F(MoveDetection, TakesTheTrashAndNothingForNoMove) {
    folder.makeFolder("library/.Trash-1000/files");
    folder.makeFolder("library/.Trash");
    move("library/album/1.mp3", "library/.Trash-1000/files/1.mp3");
    move("library/album/2.mp3", "library/.Trash/2.mp3");
    test::remove(folder.at("library/album/CD 2/3.mp3"));
    EXPECT_THAT(resolved().moves, IsEmpty());
    accept(resolved());
    move("library/.Trash/2.mp3", "library/other/back.mp3");
    EXPECT_EQ(resolved().moves.value(path("library/album/2.mp3")), path("library/other/back.mp3"))
        << "out of the trash again";
}

TEST_F(MoveDetection, RenewsTheBookmarkOfAFileThatWasReplacedInItsPlace) {
    const QByteArray file = path("library/album/1.mp3");
    writeFileAtomically(FileUrl(file), "other content");
    const ResolvedMoves found = resolved();
    EXPECT_THAT(found.moves, IsEmpty());
    EXPECT_EQ(found.stale, Paths{file});
    accept(found);
    EXPECT_THAT(resolved().stale, IsEmpty());
    move("library/album/1.mp3", "library/other/1.mp3");
    EXPECT_EQ(resolved().moves.value(file), path("library/other/1.mp3"));
}

TEST_F(MoveDetection, AsksNothingOfARecordWithoutABookmark) {
    for (RelocationRecord& record : records) {
        record.bookmark.reset();
    }
    const ResolvedMoves found = resolved();
    EXPECT_THAT(found.moves, IsEmpty());
    EXPECT_THAT(found.dates, Each(std::nullopt));
    records[0].bookmark = "no bookmark of ours";
    EXPECT_THAT(resolved().moves, IsEmpty());
}

}  // namespace
}  // namespace halvenor
