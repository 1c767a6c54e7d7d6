#include <algorithm>
#include <ctime>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <vector>

#include "relocation/FileTools.h"
#include "relocation/Fingerprint.h"
#include "relocation/MoveDetection.h"
#include "relocation/RecordDate.h"
#include "relocation/RelocationStore.h"
#include "support/TemporaryFolder.h"

namespace halvenor {
namespace {

using test::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;

using Names = QList<QByteArray>;
using Paths = QSet<QByteArray>;

constexpr int64_t year2020 = 1'577'836'800;          // seconds since 1970
constexpr double year2020InRecords = 599'529'600.0;  // seconds since 2001

std::vector<QByteArray> pathsOf(const RelocationRecords& records) {
    std::vector<QByteArray> paths;
    for (const RelocationRecord& record : records) {
        paths.push_back(record.path);
    }
    return paths;
}

double secondsSince2001() {
    return static_cast<double>(std::time(nullptr)) - 978'307'200;
}

// A check once more, of the same paths.
RelocationRecords preparedAgain(const RelocationRecords& records, const ResolvedMoves& seen = {}) {
    Paths files;
    Paths folders;
    for (const RelocationRecord& record : records) {
        (record.isDirectory ? folders : files).insert(record.path);
    }
    return prepared(records, files, folders, seen);
}

RelocationRecord preparedAgain(const RelocationRecord& record) {
    return preparedAgain(RelocationRecords{record}).first();
}

TEST(RecordDate, CountsFrom2001AndIsExact) {
    EXPECT_EQ(recordDate(year2020 * nanosecondsPerSecond), year2020InRecords);
    EXPECT_EQ(recordDate(978'307'200 * nanosecondsPerSecond + 500'000'000), 0.5);
    EXPECT_EQ(recordDate(0), -978'307'200);
    EXPECT_EQ(recordDate(-250'000'000), -978'307'200.25);
    EXPECT_NEAR(currentRecordDate(), secondsSince2001(), 2);
}

TEST(Preparation, RemembersWhatIsThere) {
    const TemporaryFolder folder;
    const FileUrl file = folder.makeFile("1.mp3", "1");
    folder.makeFile("album/2.flac", "2");
    folder.makeFile("album/.hidden");
    test::setModified(file, year2020 + 0.5);
    const QByteArray album = folder.path("album");
    const QByteArray missing = folder.path("missing");
    const QByteArray both = folder.path("album/2.flac");
    const RelocationRecords records =
        prepared({}, {file.path(), missing + ".mp3", both}, {album, missing, both});
    ASSERT_THAT(pathsOf(records), ElementsAre(file.path(), album, both, missing, missing + ".mp3"))
        << "in order, each once";

    const RelocationRecord& fileRecord = records[0];
    EXPECT_FALSE(fileRecord.isDirectory);
    EXPECT_TRUE(fileRecord.bookmark);
    EXPECT_EQ(fileRecord.fingerprint, fingerprint(file));
    EXPECT_EQ(fileRecord.modified, year2020InRecords + 0.5);
    EXPECT_FALSE(fileRecord.children || fileRecord.witnesses);

    const RelocationRecord& folderRecord = records[1];
    EXPECT_TRUE(folderRecord.isDirectory);
    EXPECT_TRUE(folderRecord.bookmark);
    EXPECT_FALSE(folderRecord.fingerprint);
    EXPECT_EQ(folderRecord.children, Names{"2.flac"});
    EXPECT_EQ(folderRecord.witnesses.value_or(QMap<QByteArray, QByteArray>()).keys(),
              Names{"2.flac"});
    EXPECT_NEAR(folderRecord.modified.value_or(0), secondsSince2001(), 60);

    EXPECT_TRUE(records[2].isDirectory) << "what is wanted as both is a folder";
    EXPECT_EQ(records[2].children, std::nullopt);

    EXPECT_TRUE(records[3].isDirectory);
    EXPECT_FALSE(records[3].bookmark || records[3].children);
    EXPECT_THAT(*records[3].witnesses, IsEmpty());
    EXPECT_FALSE(records[4].bookmark || records[4].fingerprint || records[4].modified);
    EXPECT_FALSE(records[0].id.isNull() || records[0].id == records[1].id);
}

TEST(Preparation, KeepsTheOrderOfTheFirstOfEachWantedPath) {
    const TemporaryFolder folder;
    const auto path = [&](const char* name) { return folder.path(name); };
    RelocationRecords before = prepared({}, {path("a"), path("b"), path("c"), path("d")}, {});
    std::ranges::reverse(before);
    before.append(before[1]);
    before.last().id = QUuid::createUuid();
    before.last().fingerprint = "0:second";
    const RelocationRecords after =
        prepared(before, {path("e"), path("c"), path("a"), path("d"), path("Z")}, {});
    EXPECT_THAT(pathsOf(after), ElementsAre(path("d"), path("c"), path("a"), path("Z"), path("e")));
    EXPECT_EQ(after[1].id, before[1].id);
    EXPECT_EQ(after[1].fingerprint, std::nullopt);
    EXPECT_THAT(prepared(after, {}, {}), IsEmpty());
}

// A library of some albums, and one check of it.
class Library {
  public:
    Library() {
        for (int album = 0; album < 5; ++album) {
            const QByteArray name = "album " + QByteArray::number(album);
            folders_.insert(folder.path(name));
            for (int track = 0; track < 4; ++track) {
                const FileUrl file = folder.makeFile(
                    name + '/' + QByteArray::number(track) + ".mp3", test::noise(100'000));
                files_.insert(file.path());
                // Times to the nanosecond, as real files have them.
                test::setModified(file, year2020 + album * 1e6 + track * 0.123456789);
            }
        }
        records = prepared({}, files_, folders_);
    }

    RelocationRecords check(const ResolvedMoves& seen = {}) const {
        return prepared(records, files_, folders_, seen);
    }

    TemporaryFolder folder;
    RelocationRecords records;

  private:
    Paths files_;
    Paths folders_;
};

TEST(Preparation, ReadsNothingAndGivesBackTheSameListWhenNothingHasChanged) {
    Library library;
    const int64_t before = test::bytesRead();
    EXPECT_EQ(library.check().constData(), library.records.constData());
    library.records = decodedRecords(encodedRecords(library.records));
    EXPECT_EQ(library.check().constData(), library.records.constData()) << "in the next run, too";
    EXPECT_LT(test::bytesRead() - before, 1024) << "the counters themselves";
}

TEST(Preparation, TrustsWhatWasSeenJustBefore) {
    Library library;
    ResolvedMoves seen;
    const RelocationRecord file = library.records.last();
    ASSERT_FALSE(file.isDirectory);
    seen.records = library.records;
    seen.dates.resize(static_cast<size_t>(library.records.size()));
    seen.dates.back() = *file.modified + 1;
    RelocationRecord dated = file;
    dated.modified = *file.modified + 1;
    EXPECT_EQ(library.check(seen).last(), dated);
    library.records.detach();
    EXPECT_EQ(library.check(seen).last(), file) << "the list may have changed since";
}

TEST(Preparation, ReadsAFileAgainWhenItsDateIsAnother) {
    const TemporaryFolder folder;
    const FileUrl file = folder.makeFile("1.mp3", "1");
    test::setModified(file, year2020);
    const RelocationRecord record = prepared({}, {file.path()}, {}).first();

    test::overwrite(file, 0, "2");
    test::setModified(file, year2020);
    EXPECT_EQ(preparedAgain(record), record) << "by its date alone";

    for (const double date : {year2020 + 1e-6, year2020 - 1.0}) {
        test::setModified(file, date);
        const RelocationRecord changed = preparedAgain(record);
        EXPECT_EQ(changed.fingerprint, fingerprint(file));
        EXPECT_NE(changed.fingerprint, record.fingerprint);
        EXPECT_EQ(changed.id, record.id);
        EXPECT_EQ(preparedAgain(changed), changed);
    }
    RelocationRecord undated = record;
    undated.modified.reset();
    EXPECT_EQ(preparedAgain(undated).fingerprint, fingerprint(file));

    test::remove(file);
    EXPECT_EQ(preparedAgain(record), record) << "what is away keeps all that was known";
}

TEST(Preparation, HealsWhatWasMadeWhileItWasAway) {
    const TemporaryFolder folder;
    const QByteArray file = folder.path("album/1.mp3");
    const QByteArray album = folder.path("album");
    const RelocationRecords away = prepared({}, {file}, {album});
    EXPECT_EQ(preparedAgain(away).constData(), away.constData());
    folder.makeFile("album/1.mp3", "1");
    const RelocationRecords back = preparedAgain(away);
    EXPECT_TRUE(back[0].bookmark && back[1].bookmark);
    EXPECT_EQ(back[0].children, Names{"1.mp3"});
    EXPECT_EQ(back[0].witnesses->keys(), Names{"1.mp3"}) << "so that the folder can be proved";
    EXPECT_EQ(back[1].fingerprint, fingerprint(FileUrl(file)));
    EXPECT_TRUE(back[1].modified);
    EXPECT_EQ(back[0].id, away[0].id);
    EXPECT_EQ(preparedAgain(back).constData(), back.constData());
}

TEST(Preparation, RenewsStaleBookmarksOfWhatIsThere) {
    const TemporaryFolder folder;
    RelocationRecords records =
        prepared({}, {folder.makeFile("1.mp3").path(), folder.path("missing")}, {});
    records[0].bookmark = records[1].bookmark = "old";
    ResolvedMoves seen;
    seen.stale = {records[0].path, records[1].path};
    const RelocationRecords renewed = preparedAgain(records, seen);
    EXPECT_EQ(renewed[0].bookmark, makeBookmark(FileUrl(records[0].path)));
    EXPECT_EQ(renewed[1].bookmark, "old");
    records[0].bookmark = renewed[0].bookmark;
    EXPECT_EQ(renewed, records) << "and nothing else";
}

// What is remembered of a folder, what it is now, and whether its witnesses are taken anew.
TEST(Preparation, TakesWitnessesAnewAsTheListingAndTheirDatesAsk) {
    enum Listing { absent, same, other };
    struct Case {
        Listing stored;
        bool isListable;
        const char* witnesses;  // "none" (absent), "empty", "fresh", "stale", "gone", "undated"
        bool isTakenAnew;
    };
    const std::vector<Case> cases = {
        {same, true, "none", true},      {same, true, "empty", false},
        {same, true, "fresh", false},    {same, true, "stale", true},
        {same, true, "gone", true},      {same, true, "undated", true},
        {other, true, "fresh", true},    {other, true, "empty", true},
        {absent, true, "fresh", true},   {absent, true, "empty", true},
        {absent, false, "fresh", false}, {absent, false, "stale", true},
        {absent, false, "none", true},   {same, false, "fresh", true},
    };
    for (const Case& c : cases) {
        const TemporaryFolder folder;
        const test::Unprivileged rights(folder);
        test::setModified(folder.makeFile("album/1.mp3", "1"), year2020);
        const QByteArray kind = c.witnesses;
        RelocationRecord record = prepared({}, {}, {folder.path("album")}).first();
        record.children = c.stored == absent ? std::optional<Names>()
                                             : Names{c.stored == same ? "1.mp3" : "2.mp3"};
        record.modified = year2020InRecords + (kind == "stale" ? -1e-3 : 0);
        // Kept or taken anew is told by a text that no file has.
        record.witnesses = QMap<QByteArray, QByteArray>{{"1.mp3", "0:remembered"}};
        if (kind == "none") {
            record.witnesses.reset();
        } else if (kind == "empty") {
            record.witnesses->clear();
        } else if (kind == "gone") {
            record.witnesses->insert("0/gone.mp3", "0:remembered");
        } else if (kind == "undated") {
            record.modified.reset();
        }
        // Entering it is allowed, so its files' dates are still there.
        ASSERT_EQ(::chmod(folder.path("album").constData(), c.isListable ? 0700 : 0300), 0);
        const RelocationRecord after = preparedAgain(record);
        ::chmod(folder.path("album").constData(), 0700);
        const auto name = testing::Message() << "stored listing " << c.stored << ", listable "
                                             << c.isListable << ", witnesses " << c.witnesses;
        if (c.isTakenAnew) {
            QMap<QByteArray, QByteArray> taken;
            if (c.isListable) {
                taken.insert("1.mp3", *fingerprint(folder.at("album/1.mp3")));
            }
            EXPECT_EQ(after.witnesses, taken) << name;
            EXPECT_NEAR(after.modified.value_or(0), secondsSince2001(), 60) << name;
        } else {
            EXPECT_EQ(after.witnesses, record.witnesses) << name;
            EXPECT_EQ(after.modified, record.modified) << name;
        }
        EXPECT_EQ(after.children, c.isListable ? std::optional(Names{"1.mp3"}) : std::nullopt)
            << name;
    }
}

TEST(Preparation, ReadsAFileFromTheFutureOnce) {
    const TemporaryFolder folder;
    const FileUrl file = folder.makeFile("album/1.mp3", "1");
    test::setModified(file, static_cast<double>(std::time(nullptr)) + 7200);
    const RelocationRecord record = prepared({}, {}, {folder.path("album")}).first();
    EXPECT_EQ(preparedAgain(record), record);
    test::overwrite(file, 0, "2");
    test::setModified(file, static_cast<double>(std::time(nullptr)) + 7300);
    EXPECT_EQ(preparedAgain(record).witnesses->value("1.mp3"), fingerprint(file));
}

TEST(Preparation, SeesAWitnessThatIsWrittenRightAfterIt) {
    const TemporaryFolder folder;
    const FileUrl file = folder.makeFile("album/1.mp3", "0");
    RelocationRecord record = prepared({}, {}, {folder.path("album")}).first();
    for (int round = 1; round < 20; ++round) {
        const timespec tick = {0, 10'000'000};  // longer than a step of the files' clock
        ::nanosleep(&tick, nullptr);
        test::overwrite(file, 0, QByteArray::number(round % 10));
        record = preparedAgain(record);
        EXPECT_EQ(record.witnesses->value("1.mp3"), fingerprint(file)) << round;
    }
}

TEST(Preparation, StopsWhenAsked) {
    const TemporaryFolder folder;
    std::stop_source source;
    source.request_stop();
    const int64_t before = test::bytesRead();
    prepared({}, {folder.makeFile("1.mp3", QByteArray(100'000, 'a')).path()}, {}, {},
             source.get_token());
    EXPECT_LT(test::bytesRead() - before, 1024);
}

}  // namespace
}  // namespace halvenor
