#include <QRandomGenerator>

#include "Bookmarks.h"
#include "platform/bookmark/BookmarkData.h"

namespace halvenor::test {

namespace {

BookmarkFront typicalFront() {
    BookmarkFront front;
    front.kind = FileStatus::Kind::file;
    front.item = {123456789, 1'700'000'000'123'456'789, QByteArray("\1\0\0\0\0\xFF\x7F\3", 8)};
    front.path = "/home/user/Music/An Artist/(1999) An Album/CD 1/01 - The Title \n\xE9.flac";
    return front;
}

BookmarkBack typicalBack() {
    BookmarkBack back;
    back.fileSystem = 0xFEDCBA9876543210;
    back.size = int64_t{1} << 40;
    back.modified = -5;
    back.topLength = 5;
    back.ancestors = {{1, 2, {}}, {uint64_t{1} << 63, {}, "a handle"}, {3, {}, {}}};
    return back;
}

bool operator==(const ItemIdentity& a, const ItemIdentity& b) {
    return a.inode == b.inode && a.born == b.born && a.handle == b.handle;
}

bool isRead(const QByteArray& bookmark) {
    return decodedFront(bookmark) && decodedBack(bookmark);
}

TEST(BookmarkBytesTest, KeepAllThatTheyAreMadeOf) {
    const BookmarkFront front = typicalFront();
    const BookmarkBack back = typicalBack();
    const QByteArray bookmark = encodedBookmark(front, back);
    const auto readFront = decodedFront(bookmark);
    const auto readBack = decodedBack(bookmark);
    ASSERT_TRUE(readFront && readBack);
    EXPECT_EQ(readFront->kind, front.kind);
    EXPECT_EQ(readFront->path, front.path);
    EXPECT_TRUE(readFront->item == front.item);
    EXPECT_EQ(readBack->fileSystem, back.fileSystem);
    EXPECT_EQ(readBack->size, back.size);
    EXPECT_EQ(readBack->modified, back.modified);
    EXPECT_EQ(readBack->topLength, back.topLength);
    ASSERT_EQ(readBack->ancestors.size(), back.ancestors.size());
    for (size_t i = 0; i < back.ancestors.size(); ++i) {
        EXPECT_TRUE(readBack->ancestors[i] == back.ancestors[i]) << i;
    }
}

TEST(BookmarkBytesTest, AreNoBookmarkWhenDamaged) {
    const QByteArray whole = encodedBookmark(typicalFront(), typicalBack());
    ASSERT_TRUE(isRead(whole));
    for (qsizetype length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(isRead(whole.left(length))) << "cut off at " << length;
    }
    EXPECT_FALSE(isRead(whole + '\0'));
    for (const qsizetype at : {0, 1, 2, 3, 4}) {  // magic, version, length
        QByteArray changed = whole;
        changed[at] = static_cast<char>(changed[at] + 1);
        EXPECT_FALSE(isRead(changed)) << at;
    }

    // Cut off, and the length made good again, so that it is the contents that are found out.
    for (qsizetype length = 5; length < whole.size(); ++length) {
        QByteArray cut = whole.left(length);
        cut[3] = static_cast<char>(length & 0xFF);
        cut[4] = static_cast<char>(length >> 8);
        EXPECT_FALSE(isRead(cut)) << length;
    }
}

TEST(BookmarkBytesTest, AreNoBookmarkWhenAbsurd) {
    const auto refusesFront = [](auto change) {
        BookmarkFront front = typicalFront();
        change(front);
        return !isRead(encodedBookmark(front, typicalBack()));
    };
    const auto refusesBack = [](auto change) {
        BookmarkBack back = typicalBack();
        change(back);
        return !isRead(encodedBookmark(typicalFront(), back));
    };
    EXPECT_TRUE(refusesFront([](BookmarkFront& f) { f.kind = static_cast<FileStatus::Kind>(3); }));
    EXPECT_TRUE(refusesFront([](BookmarkFront& f) { f.path = "relative/a/b/c/d"; }));
    EXPECT_TRUE(refusesFront([](BookmarkFront& f) { f.path.clear(); }));
    EXPECT_TRUE(refusesFront([](BookmarkFront& f) { f.path = QByteArray("/home/\0/b/c", 11); }));
    EXPECT_TRUE(refusesFront([](BookmarkFront& f) { f.path = "/home" + QByteArray(5000, 'a'); }));
    EXPECT_TRUE(refusesFront([](BookmarkFront& f) { f.path = "/home/u"; }))
        << "has fewer folders above than are said";
    EXPECT_TRUE(refusesBack([](BookmarkBack& b) { b.topLength = 4; }));
    EXPECT_TRUE(refusesBack([](BookmarkBack& b) { b.topLength = 6; }));
    EXPECT_TRUE(refusesBack([](BookmarkBack& b) { b.topLength = qsizetype{1} << 40; }));
    EXPECT_TRUE(refusesBack([](BookmarkBack& b) { b.ancestors.resize(200); }));
}

struct BookmarkTest : testing::Test, MarkedFolder {};

TEST_F(BookmarkTest, IsMadeOfWhatIsThereAlone) {
    const FileUrl file = folder.makeFile("A/x.mp3", "abc");
    folder.makeLink("broken", "nothing");
    EXPECT_TRUE(makeBookmark(file));
    EXPECT_TRUE(makeBookmark(FileUrl("/")));
    EXPECT_FALSE(makeBookmark(folder.at("missing")));
    EXPECT_FALSE(makeBookmark(folder.at("broken")));
    EXPECT_FALSE(makeBookmark(FileUrl()));
    EXPECT_FALSE(makeBookmark(FileUrl(".")));
    EXPECT_FALSE(makeBookmark(FileUrl(file.path() + QByteArray("\0x", 2))));
    EXPECT_FALSE(makeBookmark(FileUrl("/" + QByteArray(5000, 'a'))));
    EXPECT_EQ(makeBookmark(folder.at("A/../A/./x.mp3")), makeBookmark(file));
    EXPECT_EQ(makeBookmarks({file, folder.at("missing"), folder.url()}),
              std::vector({makeBookmark(file), {}, makeBookmark(folder.url())}));
}

TEST_F(BookmarkTest, IsSmall) {
    const QByteArray name = "Music/An Artist/(1999) An Album/CD 1/01 - The Title.flac";
    folder.makeFile(name);
    EXPECT_LE(marked(name).size(), 250);
}

TEST_F(BookmarkTest, SurvivesAnyBytes) {
    folder.makeFile("L/A/x.mp3");
    folder.makeFile("L/B/y.mp3");
    const QByteArray whole = marked("L/A/x.mp3");
    setLocations({"L"});
    QRandomGenerator random(20240229);
    int resolvedToFile = 0;
    for (int round = 0; round < 2000; ++round) {
        if (round == 1000) {
            move("L/A/x.mp3", "L/B/z.mp3");  // From here on all the bytes are read.
        }
        QByteArray changed = whole;
        for (int changes = random.bounded(1, 4); changes > 0; --changes) {
            const qsizetype at = random.bounded(static_cast<int>(changed.size()));
            switch (random.bounded(4)) {
                case 0:
                    changed[at] = static_cast<char>(random.bounded(256));
                    break;
                case 1:
                    changed[at] = static_cast<char>(changed[at] ^ (1 << random.bounded(8)));
                    break;
                case 2:
                    changed.insert(at, random.bounded(8), static_cast<char>(random.bounded(256)));
                    break;
                default:
                    changed.remove(at, random.bounded(8));
                    break;
            }
            changed.append(changed.isEmpty() ? "h" : "");
        }
        if (random.bounded(2) && changed.size() > 5) {  // else most fail by their length
            changed[3] = static_cast<char>(changed.size() & 0xFF);
            changed[4] = static_cast<char>(changed.size() >> 8);
        }
        // The answer is compared with what is really there.
        resolvedToFile += answer(changed).startsWith("L/") ? 1 : 0;
    }
    EXPECT_GT(resolvedToFile, 50) << "the changes are so rough that nothing gets far";
}

}  // namespace

}  // namespace halvenor::test
