#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <numeric>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "base/AtomicFile.h"
#include "base/Error.h"
#include "base/FileCopy.h"
#include "base/FileDescriptor.h"
#include "support/PeakMemory.h"
#include "support/TemporaryFolder.h"

namespace halvenor {
namespace {

using test::TemporaryFolder;

struct stat statusOf(const FileUrl& url) {
    struct stat status = {};
    EXPECT_EQ(::lstat(url.path().constData(), &status), 0) << url.path().constData();
    return status;
}

std::ptrdiff_t countIn(const TemporaryFolder& folder) {
    using Entries = std::filesystem::directory_iterator;
    return std::distance(Entries(folder.url().path().toStdString()), Entries());
}

// No two stretches alike, so that one in the wrong place shows.
QByteArray numbered(qsizetype size) {
    std::vector<uint32_t> numbers(static_cast<size_t>(size / 4));
    std::iota(numbers.begin(), numbers.end(), 0);
    return QByteArray(reinterpret_cast<const char*>(numbers.data()), size);
}

TEST(FileReplacement, keepsWhatFollowsTheHead) {
    const TemporaryFolder folder;
    const QByteArray old = numbered(5'000'000);
    struct Case {
        std::vector<QByteArray> head;
        qsizetype keptFrom;
    };
    const Case cases[] = {{{"new ", "", "head"}, 10},
                          {{}, 0},
                          {{}, 4097},
                          {{QByteArray(3'000'000, 'h')}, 1},
                          {{"nothing else"}, old.size()}};
    for (const Case& each : cases) {
        const FileUrl file = folder.makeFile("\xe9\xff name", old);
        FileReplacement replacement(file);
        EXPECT_EQ(replacement.size(), old.size());
        EXPECT_EQ(replacement.read(7, 5000), old.mid(7, 5000));
        EXPECT_EQ(replacement.read(old.size() - 3, 5000), old.right(3));
        EXPECT_EQ(replacement.read(old.size() + 3, 5000), QByteArray());
        replacement.replace(each.head, each.keptFrom);
        QByteArray expected;
        for (const QByteArray& piece : each.head) {
            expected += piece;
        }
        EXPECT_EQ(readFile(file), expected + old.mid(each.keptFrom));
        EXPECT_EQ(countIn(folder), 1);
    }
}

TEST(FileReplacement, keepsWhatAFileIsBesideItsBytes) {
    const TemporaryFolder folder;
    const FileUrl file = folder.makeFile("music/file", "old");
    const QByteArray path = file.path();
    ASSERT_EQ(::chmod(path.constData(), 0640), 0);
    const bool hasAttributes = ::setxattr(path.constData(), "user.note", "kept", 4, 0) == 0;
    const bool isOwned = ::geteuid() != 0 || ::chown(path.constData(), 1234, 5678) == 0;
    ASSERT_TRUE(isOwned);
    const FileUrl link = folder.makeLink("link", "music/file");
    ASSERT_EQ(::link(path.constData(), folder.path("hard").constData()), 0);
    const struct stat before = statusOf(file);

    FileReplacement(link).replace({"new "}, 1);

    EXPECT_EQ(readFile(file), "new ld");
    const struct stat after = statusOf(file);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
    EXPECT_NE(after.st_ino, before.st_ino);
    EXPECT_TRUE(S_ISLNK(statusOf(link).st_mode));
    EXPECT_EQ(readFile(folder.at("hard")), "old") << "the other name keeps the old file";
    EXPECT_EQ(countIn(folder), 3);
    if (hasAttributes) {
        char note[8] = {};
        EXPECT_EQ(::getxattr(path.constData(), "user.note", note, sizeof note), 4);
        EXPECT_STREQ(note, "kept");
    }
}

// Each happens between the opening of the file and its replacement.
TEST(FileReplacement, leavesAFileThatHasChanged) {
    struct Case {
        const char* name;
        std::function<void(const TemporaryFolder&)> change;
        const char* failure;
        const char* contents;  // afterwards; none when the file is gone
    };
    const char* const changed = "The file was changed by another program";
    const auto writeInPlace = [](const TemporaryFolder& folder, off_t place, const char* bytes) {
        const FileDescriptor file(::open(folder.path("file").constData(), O_WRONLY | O_CLOEXEC));
        ASSERT_GT(::pwrite(file.get(), bytes, std::strlen(bytes), place), 0);
    };
    const Case cases[] = {
        {"written in place", [&](const auto& folder) { writeInPlace(folder, 2, "X"); }, changed,
         "0 X 2 3 4 "},
        {"grown", [&](const auto& folder) { writeInPlace(folder, 10, "more"); }, changed,
         "0 1 2 3 4 more"},
        {"cut short",
         [](const auto& folder) { ASSERT_EQ(::truncate(folder.path("file").constData(), 4), 0); },
         changed, "0 1 "},
        {"replaced by an equal one",
         [](const auto& folder) {
             folder.makeFile("other", "0 1 2 3 4 ");
             ASSERT_EQ(::rename(folder.path("other").constData(), folder.path("file").constData()),
                       0);
         },
         changed, "0 1 2 3 4 "},
        {"gone",
         [](const auto& folder) { ASSERT_EQ(::unlink(folder.path("file").constData()), 0); },
         "No such file or directory", nullptr},
        {"a link now",
         [](const auto& folder) {
             ASSERT_EQ(::unlink(folder.path("file").constData()), 0);
             folder.makeFile("elsewhere", "else");
             folder.makeLink("file", "elsewhere");
         },
         "Not a regular file", "else"},
    };
    for (const Case& each : cases) {
        const TemporaryFolder folder;
        const FileUrl file = folder.makeFile("file", "0 1 2 3 4 ");
        FileReplacement replacement(file);
        replacement.read(0, 4);
        each.change(folder);
        const auto entries = countIn(folder);
        try {
            replacement.replace({"new"}, 4);
            ADD_FAILURE() << each.name;
        } catch (const Error& error) {
            EXPECT_EQ(error.text().toStdString(), each.failure) << each.name;
        }
        EXPECT_EQ(countIn(folder), entries) << each.name;
        if (each.contents) {
            EXPECT_EQ(readFile(file), each.contents) << each.name;
        } else {
            EXPECT_THROW(readFile(file), Error) << each.name;
        }
    }
}

// The last look at the file comes when the new one is complete.
TEST(FileReplacement, leavesAFileThatChangesWhileItIsCopied) {
    constexpr qsizetype size = 64 << 20;
    const TemporaryFolder folder;
    const QByteArray old = numbered(size);
    bool hasFailed = false;
    for (int attempt = 0; attempt < 20 && !hasFailed; ++attempt) {
        const FileUrl file = folder.makeFile("file", old);
        const FileDescriptor writer(::open(file.path().constData(), O_WRONLY | O_CLOEXEC));
        FileReplacement replacement(file);
        std::jthread changer([&](const std::stop_token& stop) {
            while (countIn(folder) == 1 && !stop.stop_requested()) {
            }
            EXPECT_EQ(::pwrite(writer.get(), "X", 1, size - 1), 1);
        });
        try {
            replacement.replace({"new"}, 1);
        } catch (const Error& error) {
            hasFailed = true;
            changer.join();
            EXPECT_EQ(error.text(), QStringLiteral("The file was changed by another program"));
            EXPECT_TRUE(readFile(file) == old.chopped(1) + 'X');
            EXPECT_EQ(countIn(folder), 1);
        }
    }
    EXPECT_TRUE(hasFailed) << "no change came in time";
}

TEST(FileReplacement, refusesWhatIsNoFile) {
    const TemporaryFolder folder;
    folder.makeFolder("folder");
    folder.makeLink("loop", "loop");
    folder.makeLink("dangling", "nowhere");
    ASSERT_EQ(::mkfifo(folder.path("pipe").constData(), 0600), 0);
    for (const char* name : {"folder", "loop", "dangling", "pipe", "missing"}) {
        EXPECT_THROW(FileReplacement(folder.at(name)), Error) << name;
    }
}

// 4 GiB and a little, of which three stretches hold something.
TEST(FileReplacement, keepsHolesAndTakesNoMemory) {
    constexpr int64_t size = (int64_t{4} << 30) + 12345;
    const TemporaryFolder folder;
    const FileUrl file = folder.makeFile("file", "begin");
    {
        const FileDescriptor writer(::open(file.path().constData(), O_WRONLY | O_CLOEXEC));
        ASSERT_EQ(::ftruncate(writer.get(), size), 0);
        ASSERT_EQ(::pwrite(writer.get(), "middle", 6, size / 2), 6);
    }
    const struct stat before = statusOf(file);
    if (before.st_blocks > 2000) {
        GTEST_SKIP() << "the file system of the temporary folder has no holes";
    }
    const test::PeakMemory peak;
    FileReplacement replacement(file);
    replacement.replace({"a head that moves it all"}, 2);

    EXPECT_LT(peak.growth(), 8 << 20);
    const struct stat after = statusOf(file);
    EXPECT_EQ(after.st_size, size + 22);
    EXPECT_LT(after.st_blocks, 2000);
    const FileReplacement result(file);
    EXPECT_EQ(result.read(0, 30),
              QByteArray("a head that moves it allgin").leftJustified(30, '\0'));
    EXPECT_EQ(result.read(size / 2 + 22 - 2, 10), QByteArray("\0\0middle\0\0", 10));
    EXPECT_EQ(result.read(size + 20, 100), QByteArray(2, '\0'));
}

// Where the kernel does not copy by itself, as into a file that is open for appending alone.
TEST(FileCopy, goesThroughMemoryWhereItMust) {
    const TemporaryFolder folder;
    const QByteArray bytes = numbered(3'000'000);
    const FileUrl source = folder.makeFile("source", bytes);
    const FileUrl target = folder.makeFile("target", "kept ");
    const FileDescriptor from(::open(source.path().constData(), O_RDONLY | O_CLOEXEC));
    const FileDescriptor to(::open(target.path().constData(), O_WRONLY | O_APPEND | O_CLOEXEC));
    ASSERT_EQ(::copy_file_range(from.get(), nullptr, to.get(), nullptr, 1, 0), -1);
    appendStretch(from.get(), 1000, 2'500'000, to.get());
    EXPECT_TRUE(readFile(target) == "kept " + bytes.mid(1000, 2'500'000));
    EXPECT_THROW(appendStretch(from.get(), 1000, 3'000'000, to.get()), Error) << "the file ends";
    EXPECT_THROW(appendStretch(from.get(), 4'000'000, 1, to.get()), Error) << "it ended before";
}

}  // namespace
}  // namespace halvenor
