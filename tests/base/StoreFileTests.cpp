#include <atomic>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <optional>
#include <semaphore>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "base/AtomicFile.h"
#include "base/Error.h"
#include "base/FileStatus.h"
#include "base/StoreFile.h"
#include "support/TemporaryFolder.h"

namespace halvenor {
namespace {

using test::TemporaryFolder;
using test::Unprivileged;

std::function<QByteArray()> text(const QByteArray& bytes) {
    return [bytes] { return bytes; };
}

// Nothing when there is nothing to read.
std::optional<QByteArray> contentsOf(StoreFile& file) {
    std::optional<QByteArray> contents;
    file.read([&](const QByteArray& bytes) { contents = bytes; });
    return contents;
}

void notUnderstood(const QByteArray& /*bytes*/) {
    throw std::runtime_error("not understood");
}

// An atomic save puts a new item in the file's place.
uint64_t inodeOf(const FileUrl& url) {
    const auto status = fileStatus(url);
    return status ? status->inode : 0;
}

TEST(StoreFile, WritesThroughMissingFoldersForTheUserAlone) {
    const TemporaryFolder folder;
    const FileUrl url = folder.at("a \xff/b/store");
    StoreFile file(url);
    EXPECT_EQ(contentsOf(file), std::nullopt);
    file.save(text("one"));
    EXPECT_TRUE(file.flush());
    EXPECT_TRUE(file.isUpToDate());
    EXPECT_EQ(readFile(url), "one");
    struct stat status = {};
    ASSERT_EQ(::stat(folder.path("a \xff").constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
    EXPECT_FALSE(itemExists(folder.at("a \xff/b/store.damaged-1")));
}

TEST(StoreFile, LeavesTheFileAloneWhenTheBytesAreTheSame) {
    const TemporaryFolder folder;
    const FileUrl url = folder.makeFile("store", "read");
    StoreFile file(url);
    EXPECT_EQ(contentsOf(file), "read");
    const uint64_t first = inodeOf(url);
    file.save(text("read"));
    EXPECT_TRUE(file.flush());
    EXPECT_EQ(inodeOf(url), first);
    file.save(text("new"));
    EXPECT_TRUE(file.flush());
    const uint64_t second = inodeOf(url);
    EXPECT_NE(second, first);
    file.save(text("new"));
    EXPECT_TRUE(file.flush());
    EXPECT_EQ(inodeOf(url), second);
}

TEST(StoreFile, LeavesOutSavesThatHaveNotBegun) {
    const TemporaryFolder folder;
    StoreFile file(folder.at("store"));
    std::binary_semaphore isEncoding(0);
    std::binary_semaphore mayGoOn(0);
    file.save([&] {
        isEncoding.release();
        mayGoOn.acquire();
        return QByteArray("first");
    });
    isEncoding.acquire();
    EXPECT_FALSE(file.isUpToDate());
    std::atomic<int> encoded = 0;
    for (int number = 0; number < 10; ++number) {
        file.save([&encoded, number] {
            ++encoded;
            return QByteArray::number(number);
        });
    }
    mayGoOn.release();
    EXPECT_TRUE(file.flush());
    EXPECT_EQ(encoded, 1);
    EXPECT_EQ(readFile(folder.at("store")), "9");
}

TEST(StoreFile, FlushesAtItsEnd) {
    const TemporaryFolder folder;
    for (int round = 0; round < 20; ++round) {
        const QByteArray bytes = QByteArray::number(round);
        StoreFile(folder.at("store")).save(text(bytes));
        EXPECT_EQ(readFile(folder.at("store")), bytes);
    }
}

TEST(StoreFile, TriesAgainAfterAFailure) {
    const TemporaryFolder folder;
    const Unprivileged rights(folder);
    const FileUrl url = folder.makeFile("closed/store", "old");
    StoreFile file(url);
    ASSERT_EQ(::chmod(folder.path("closed").constData(), 0500), 0);
    file.save(text("new"));
    EXPECT_FALSE(file.flush());
    EXPECT_FALSE(file.isUpToDate());
    EXPECT_EQ(readFile(url), "old");
    ASSERT_EQ(::chmod(folder.path("closed").constData(), 0700), 0);
    EXPECT_TRUE(file.flush());
    EXPECT_EQ(readFile(url), "new");

    file.save([]() -> QByteArray { throw std::runtime_error("no encoding"); });
    EXPECT_FALSE(file.flush());
    file.save(text("later"));
    EXPECT_TRUE(file.flush());
    EXPECT_EQ(readFile(url), "later");
}

TEST(StoreFile, KeepsADamagedFileAsideOnce) {
    const TemporaryFolder folder;
    const FileUrl url = folder.makeFile("store", "damaged");
    folder.makeFile("store.damaged-1", "older");
    {
        StoreFile file(url);
        file.read(notUnderstood);
        EXPECT_TRUE(file.flush());
        EXPECT_FALSE(itemExists(folder.at("store.damaged-2"))) << "not before it is overwritten";
        file.save(text("one"));
        EXPECT_TRUE(file.flush());
        file.save(text("two"));
    }
    EXPECT_EQ(readFile(url), "two");
    EXPECT_EQ(readFile(folder.at("store.damaged-1")), "older");
    EXPECT_EQ(readFile(folder.at("store.damaged-2")), "damaged");
    EXPECT_FALSE(itemExists(folder.at("store.damaged-3")));
}

TEST(StoreFile, KeepsADamagedFileOnceThoughWritingFails) {
    const TemporaryFolder folder;
    const Unprivileged rights(folder);
    const FileUrl url = folder.makeFile("store", "damaged");
    {
        StoreFile file(url);
        file.read(notUnderstood);
        file.save([]() -> QByteArray { throw std::runtime_error("no encoding"); });
        EXPECT_FALSE(file.flush());
    }
    EXPECT_FALSE(itemExists(folder.at("store.damaged-1")));
    // Now a copy can be kept, beside the link, and its target's folder takes no new file.
    ASSERT_EQ(::mkdir(folder.path("closed").constData(), 0700), 0);
    ASSERT_EQ(::rename(url.path().constData(), folder.path("closed/store").constData()), 0);
    folder.makeLink("store", "closed/store");
    ASSERT_EQ(::chmod(folder.path("closed").constData(), 0500), 0);
    for (int run = 0; run < 2; ++run) {
        StoreFile file(url);
        file.read(notUnderstood);
        for (int attempt = 0; attempt < 3; ++attempt) {
            file.save(text("new"));
            EXPECT_FALSE(file.flush());
        }
    }
    EXPECT_EQ(readFile(folder.at("store.damaged-1")), "damaged");
    EXPECT_FALSE(itemExists(folder.at("store.damaged-2")));
    ASSERT_EQ(::chmod(folder.path("closed").constData(), 0700), 0);
}

TEST(StoreFile, KeepsAFileThatCannotBeReadAndWritesNothingIfItCannot) {
    const TemporaryFolder folder;
    const Unprivileged rights(folder);
    const FileUrl url = folder.makeFile("store", "secret");
    ASSERT_EQ(::chmod(url.path().constData(), 0200), 0);
    {
        StoreFile file(url);
        EXPECT_EQ(contentsOf(file), std::nullopt);
        file.save(text("new"));
        EXPECT_TRUE(file.flush());
    }
    ASSERT_EQ(::chmod(folder.path("store.damaged-1").constData(), 0600), 0);
    EXPECT_EQ(readFile(folder.at("store.damaged-1")), "secret");

    const FileUrl item = folder.makeFolder("folder");
    StoreFile file(item);
    EXPECT_EQ(contentsOf(file), std::nullopt);
    file.save(text("new"));
    EXPECT_FALSE(file.flush());
    EXPECT_TRUE(itemExists(item));
}

TEST(StoreFile, FollowsLinksAndMakesTheTargetOfADanglingOne) {
    const TemporaryFolder folder;
    const FileUrl real = folder.makeFile("real", "old");
    folder.makeLink("link", "real");
    folder.makeLink("dangling", "made");
    StoreFile(folder.at("link")).save(text("new"));
    EXPECT_EQ(readFile(real), "new");
    StoreFile file(folder.at("dangling"));
    EXPECT_EQ(contentsOf(file), std::nullopt);
    file.save(text("new"));
    EXPECT_TRUE(file.flush());
    EXPECT_EQ(readFile(folder.at("made")), "new");
}

TEST(StoreFile, KeepsTheOldFileWholeOnAFullDiskAndTriesAgain) {
    const TemporaryFolder folder;
    const test::TinyFileSystem disk(folder.makeFolder("disk"));
    if (!disk.isMounted()) {
        GTEST_SKIP() << "mounting a small file system is not allowed here";
    }
    const FileUrl url = folder.makeFile("disk/store", "old");
    const FileUrl ballast = folder.makeFile("disk/ballast", QByteArray(200'000, 'b'));
    StoreFile file(url);
    file.save(text(QByteArray(100'000, 'n')));
    EXPECT_FALSE(file.flush());
    EXPECT_EQ(readFile(url), "old");
    ASSERT_EQ(::unlink(ballast.path().constData()), 0);
    EXPECT_TRUE(file.flush());
    EXPECT_EQ(readFile(url), QByteArray(100'000, 'n'));
}

}  // namespace
}  // namespace halvenor
