// What goes wrong around a save: the file is wholly old or wholly new, and nothing stays beside it.
#include <QElapsedTimer>

#include <atomic>
#include <csignal>
#include <ctime>
#include <gmock/gmock.h>
#include <random>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/AtomicFile.h"
#include "base/TemporaryFile.h"
#include "support/MediaLibrary.h"
#include "support/PeakMemory.h"
#include "support/TagBytes.h"
#include "tags/writing/Readers.h"
#include "tags/writing/WrittenFile.h"

namespace halvenor {
namespace {

using namespace test;

// Two edits whose tags differ in size.
ID3TagFields edit(int number) {
    ID3TagFields fields = titleEdit(QString::number(number));
    fields.artworkData = QByteArray("\xff\xd8\xff").append(1000 + number * 40'000, 'j');
    fields.artworkMimeType = QStringLiteral("image/jpeg");
    return fields;
}

struct Format {
    const char* name;
    const char* kind;
    void (*write)(const ID3TagFields&, const FileUrl&);
};

void PrintTo(const Format& format, std::ostream* out) {
    *out << format.name;
}

class Saving : public testing::TestWithParam<Format> {
  protected:
    // In a process of its own, one edit after the other, each counted when it is done.
    [[noreturn]] void saveForever(const FileUrl& file, std::atomic<int>& done) const {
        try {
            for (;;) {
                write(edit(done % 2), file);
                ++done;
            }
        } catch (...) {
            ::_exit(1);
        }
    }

    QByteArray music() const {
        return readBytes(MediaLibrary::shared().file(GetParam().kind, 20'000));
    }
    QByteArray name() const { return QByteArray("\xe9\xff ") + GetParam().name; }
    void write(const ID3TagFields& fields, const FileUrl& file) const {
        GetParam().write(fields, file);
    }
    std::string failureOfWriting(const ID3TagFields& fields, const FileUrl& file) const {
        return failureOf([&] { write(fields, file); });
    }
};

INSTANTIATE_TEST_SUITE_P(, Saving,
                         testing::Values(Format{"a.mp3", "mp3 lame 128", &ID3Writer::write},
                                         Format{"a.flac", "flac 16", &FLACTagWriter::write}),
                         [](const auto& each) {
                             return QByteArray(each.param.name).mid(2).toStdString();
                         });

// A number that two processes see, up to their end.
std::atomic<int>& sharedCounter() {
    void* const page =
        ::mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return *new (page) std::atomic<int>(0);
}

// Whether a child has ended by itself; it is not waited for.
bool hasEnded(pid_t child) {
    siginfo_t info = {};
    return ::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == child;
}

TEST_P(Saving, survivesAKillAtAnyMoment) {
    constexpr int saves = 500;  // of each format
    const TemporaryFolder folder;
    // Where there may be one, a disk that does not wait: the kills shall meet all else, too.
    const TinyFileSystem disk(folder.makeFolder("disk"));
    const FileUrl file = folder.makeFile("disk/" + name(), music());
    const QByteArray sound = decodedAudio(folder.makeFile(GetParam().name, music()));
    std::vector<QByteArray> images;
    QElapsedTimer timer;
    unsigned saveTime = 0;  // microseconds
    for (const int number : {0, 1, 0}) {
        timer.start();
        write(edit(number), file);
        saveTime = static_cast<unsigned>(timer.nsecsElapsed() / 1000) + 1;
        images.push_back(readBytes(file));
        EXPECT_TRUE(decodedAudio(folder.makeFile(GetParam().name, images.back())) == sound);
    }
    ASSERT_TRUE(images[0] == images[2] && images[0] != images[1]);

    std::atomic<int>& done = sharedCounter();
    std::minstd_rand random(1);
    int kills = 0;
    int inTheMidst = 0;
    while (done < saves) {
        const int enough = done + static_cast<int>(random() % 10);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            saveForever(file, done);
        }
        // The last save that is waited for, and a part of the next.
        while (done < enough && !hasEnded(child)) {
            ::usleep(100);
        }
        ::usleep(static_cast<useconds_t>(random() % saveTime));
        ASSERT_EQ(::kill(child, SIGKILL), 0);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "a save failed, or crashed";
        const QByteArray now = readBytes(file);
        ASSERT_TRUE(now == images[0] || now == images[1]) << "after " << done << " saves";
        ++kills;
        inTheMidst += static_cast<int>(namesIn(folder.at("disk")).size()) - 1;
        removeAbandonedTemporaries(folder.at("disk"), ::time(nullptr) + 1);
        ASSERT_EQ(namesIn(folder.at("disk")).size(), 1U) << "what was left is recognised";
    }
    EXPECT_GT(inTheMidst, 0) << "of " << kills << " kills met a temporary file";
}

TEST_P(Saving, survivesADiskThatIsFullAtAnyByte) {
    const TemporaryFolder folder;
    const TinyFileSystem disk(folder.makeFolder("disk"));
    if (!disk.isMounted()) {
        GTEST_SKIP() << "mounting a small file system is not allowed here";
    }
    const QByteArray old = music();
    const FileUrl file = folder.makeFile("disk/" + name(), old);
    const FileUrl filler = folder.makeFile("disk/filler");
    struct statvfs space = {};
    ASSERT_EQ(::statvfs(filler.path().constData(), &space), 0);
    const auto page = static_cast<qsizetype>(space.f_bsize);
    const auto freePages = static_cast<qsizetype>(space.f_bavail);
    int failures = 0;
    for (qsizetype left = 0; left <= freePages; ++left) {
        writeBytes(filler, QByteArray((freePages - left) * page, 'f'));
        const std::string failure = failureOfWriting(edit(1), file);
        ASSERT_EQ(namesIn(folder.at("disk")).size(), 2U);
        if (failure.empty()) {
            break;
        }
        EXPECT_EQ(failure, "Could not write file: No space left on device");
        ASSERT_TRUE(readBytes(file) == old);
        ++failures;
    }
    EXPECT_GE(failures, (old.size() + 40'000) / page);
    EXPECT_TRUE(readBytes(file).endsWith(old.right(old.size() * 9 / 10)));
    EXPECT_NE(readBytes(file).size(), old.size());
}

TEST_P(Saving, failsWhereNothingMayBeWritten) {
    const QByteArray bytes = music();
    const TemporaryFolder folder;
    const Unprivileged rights(folder);
    struct Case {
        const char* name;
        mode_t folderMode;
        mode_t fileMode;
        const char* failure;
    };
    const Case cases[] = {
        {"a read-only folder", 0500, 0600, "Could not write file: Permission denied"},
        {"a read-only file", 0700, 0400, "Could not write file: Permission denied"},
        {"an unreadable file", 0700, 0200, "Could not read file: Permission denied"},
        {"a folder that can't be searched", 0600, 0600, "Could not read file: Permission denied"}};
    for (const Case& each : cases) {
        const FileUrl file = folder.makeFile("inner/" + name(), bytes);
        ASSERT_EQ(::chmod(file.path().constData(), each.fileMode), 0);
        ASSERT_EQ(::chmod(folder.path("inner").constData(), each.folderMode), 0);
        EXPECT_EQ(failureOfWriting(edit(0), file), each.failure) << each.name;
        ASSERT_EQ(::chmod(folder.path("inner").constData(), 0700), 0);
        ASSERT_EQ(::chmod(file.path().constData(), 0600), 0);
        EXPECT_TRUE(readBytes(file) == bytes) << each.name;
        EXPECT_EQ(namesIn(folder.at("inner")).size(), 1U) << each.name;
    }
}

// Sizes that are claimed, and zeros that go on and on.
TEST(SavingHugeFiles, takesNoMemoryForWhatIsNotThere) {
    const auto audio = [](const char* kind) {
        return readBytes(MediaLibrary::shared().file(kind, 20'000)).left(8'000);
    };
    struct Case {
        const char* name;
        QByteArray head;
        int64_t size;
        void (*write)(const ID3TagFields&, const FileUrl&);
        const char* failure;
        int megabytes;
    };
    const Case cases[] = {
        {"MPEG audio of 4 GiB", audio("mp3 lame 128"), (int64_t{4} << 30) + 1, &ID3Writer::write,
         "", 8},
        {"FLAC audio of 4 GiB", audio("flac 16"), (int64_t{4} << 30) + 1, &FLACTagWriter::write, "",
         8},
        {"a tag of 256 MiB, all padding", hex("494433 03 00 00 7F7F7F7F"), int64_t{4} << 30,
         &ID3Writer::write, "", 300},
        {"a tag longer than the file", hex("494433 03 00 00 7F7F7F7F"), 0x0fffffff,
         &ID3Writer::write, "Invalid ID3 tag: it is longer than the file", 8},
        // AddressSanitizer holds freed memory back for a while.
        {"sixteen million blocks without an end", "fLaC", 64 << 20, &FLACTagWriter::write,
         "Invalid FLAC metadata", 150},
    };
    for (const Case& each : cases) {
        const TemporaryFolder folder;
        const FileUrl file = folder.makeFile("file.mp3", each.head);
        ASSERT_EQ(::truncate(file.path().constData(), each.size), 0);
        const PeakMemory peak;
        EXPECT_EQ(failureOf([&] { each.write(edit(0), file); }), each.failure) << each.name;
        EXPECT_LT(peak.growth(), each.megabytes << 20) << each.name;
        // The audio begins behind a tag of another size, and is all there.
        if (each.size > int64_t{4} << 30) {
            EXPECT_GT(FileReplacement(file).size(), each.size) << each.name;
        }
    }
}

}  // namespace
}  // namespace halvenor
