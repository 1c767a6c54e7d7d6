#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/AtomicFile.h"
#include "platform/bookmark/Bookmark.h"
#include "relocation/FileTools.h"
#include "relocation/RelocationStore.h"
#include "support/TemporaryFolder.h"

namespace halvenor {
namespace {

using test::TemporaryFolder;
using testing::IsEmpty;

RelocationRecord recordOf(const QByteArray& path) {
    RelocationRecord record;
    record.id = QUuid::createUuid();
    record.path = path;
    return record;
}

TEST(RelocationStore, HoldsWhatTheFileHeld) {
    const TemporaryFolder folder;
    const FileUrl url = folder.at("Halvenor/relocation.json");
    const RelocationRecords records = {recordOf("/a\xff/1.mp3"), recordOf("/a\n\"%")};
    {
        RelocationStore store(url);
        EXPECT_THAT(store.records(), IsEmpty());
        store.install(records);
        EXPECT_EQ(store.records(), records);
    }
    EXPECT_EQ(readFile(url), encodedRecords(records));
    {
        RelocationStore store(url);
        EXPECT_EQ(store.records(), records);
        store.install(records);
        EXPECT_TRUE(store.flush());
        store.remap({{"/a\xff", "/d"}});
    }
    EXPECT_EQ(RelocationStore(url).records().first().path, "/d/1.mp3");
}

TEST(RelocationStore, IsEmptyForAFileThatIsNoneAndKeepsItAside) {
    for (const char* text : {"", "{}", "[{\"path\":\"\\/a\",\"isDirectory\":false}]"}) {
        const TemporaryFolder folder;
        const FileUrl url = folder.makeFile("relocation.json", text);
        {
            RelocationStore store(url);
            EXPECT_THAT(store.records(), IsEmpty());
            EXPECT_EQ(readFile(url), text) << "as long as nothing is saved";
            store.install({});
        }
        EXPECT_EQ(readFile(url), "[]");
        EXPECT_EQ(readFile(folder.at("relocation.json.damaged-1")), text);
    }
}

TEST(RelocationStore, GoesOnInMemoryAndTriesAgain) {
    const TemporaryFolder folder;
    const test::Unprivileged rights(folder);
    const FileUrl url = folder.at("closed/Halvenor/relocation.json");
    folder.makeFolder("closed");
    ASSERT_EQ(::chmod(folder.path("closed").constData(), 0500), 0);
    const RelocationRecords records = {recordOf("/a")};
    RelocationStore store(url);
    store.install(records);
    EXPECT_FALSE(store.flush());
    EXPECT_EQ(store.records(), records);
    ASSERT_EQ(::chmod(folder.path("closed").constData(), 0700), 0);
    store.install(records);
    EXPECT_TRUE(store.flush());
    EXPECT_EQ(readFile(url), encodedRecords(records));
}

TEST(RelocationStore, RemapsPathsAndBookmarksAndNothingElse) {
    const TemporaryFolder folder;
    folder.makeFile("new/1.mp3", "1");
    RelocationRecord there = recordOf(folder.path("old/1.mp3"));
    there.bookmark = "before";
    there.fingerprint = "1:a";
    there.modified = 5;
    RelocationRecord away = recordOf(folder.path("old/2.mp3"));
    away.bookmark = "before";
    RelocationRecord untouched = recordOf(folder.path("older"));
    untouched.bookmark = "before";
    const RelocationRecords before = {there, away, untouched};
    const RelocationRecords after =
        remappedRecords(before, {{folder.path("old"), folder.path("new")}});
    there.path = folder.path("new/1.mp3");
    there.bookmark = makeBookmark(FileUrl(there.path));
    ASSERT_TRUE(there.bookmark);
    away.path = folder.path("new/2.mp3");
    away.bookmark.reset();
    EXPECT_EQ(after, (RelocationRecords{there, away, untouched}));
    EXPECT_EQ(remappedRecords(before, {{"/c", "/d"}}).constData(), before.constData())
        << "the same list, when nothing has moved";
}

TEST(RelocationStore, RenewsTheBookmarksOfWhatWasReplaced) {
    const TemporaryFolder folder;
    const FileUrl file = folder.makeFile("1.mp3", "1");
    RelocationStore store(folder.at("relocation.json"));
    store.synchronize({file.path(), folder.path("missing.mp3")}, {});
    const RelocationRecords before = store.records();
    ASSERT_EQ(before.size(), 2);
    writeFileAtomically(file, "2");
    store.renewBookmarks({file.path(), folder.path("missing.mp3")});
    EXPECT_NE(store.records()[0].bookmark, before[0].bookmark);
    EXPECT_EQ(store.records()[0].bookmark, makeBookmark(file));
    RelocationRecords expected = before;
    expected[0].bookmark = store.records()[0].bookmark;
    EXPECT_EQ(store.records(), expected);
    ASSERT_EQ(::unlink(file.path().constData()), 0);
    store.renewBookmarks({file.path()});
    EXPECT_EQ(store.records(), expected) << "what is away keeps its bookmark";
}

}  // namespace
}  // namespace halvenor
