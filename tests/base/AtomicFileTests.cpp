#include <dirent.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <set>
#include <string>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "base/AtomicFile.h"
#include "base/Error.h"
#include "base/FileDescriptor.h"
#include "support/TemporaryFolder.h"

namespace halvenor {
namespace {

using test::TemporaryFolder;
using test::TinyFileSystem;
using test::Unprivileged;

struct stat statusOf(const FileUrl& url) {
    struct stat status = {};
    EXPECT_EQ(::lstat(url.path().constData(), &status), 0) << url.path().constData();
    return status;
}

std::set<std::string> entriesOf(const FileUrl& folder) {
    std::set<std::string> names;
    DIR* const stream = ::opendir(folder.path().constData());
    while (const dirent* const entry = ::readdir(stream)) {
        names.insert(entry->d_name);
    }
    ::closedir(stream);
    names.erase(".");
    names.erase("..");
    return names;
}

TEST(AtomicFile, WritesAndReadsAnyBytesUnderAnyName) {
    const TemporaryFolder folder;
    QByteArray large(3'000'000, 'x');
    large[12345] = '\0';
    for (const QByteArray& contents : {QByteArray(), QByteArray("a\0b", 3), large}) {
        const FileUrl file = folder.at("\xe9\xff name.json");
        writeFileAtomically(file, contents, 0640);
        EXPECT_EQ(readFile(file), contents);
        EXPECT_EQ(statusOf(file).st_mode & 07777U, 0640U);
    }
    EXPECT_EQ(entriesOf(folder.url()).size(), 1U) << "no temporary file stays";
}

TEST(AtomicFile, KeepsModeAndAttributesAndReplacesTheInode) {
    const TemporaryFolder folder;
    const FileUrl file = folder.makeFile("store", "old");
    ASSERT_EQ(::chmod(file.path().constData(), 0604), 0);
    const bool hasAttributes =
        ::setxattr(file.path().constData(), "user.note", "kept", 4, 0) == 0 &&
        ::setxattr(file.path().constData(), "user.empty", "", 0, 0) == 0;
    const FileDescriptor old(::open(file.path().constData(), O_RDONLY | O_CLOEXEC));
    writeFileAtomically(file, "new", 0600);
    EXPECT_EQ(statusOf(file).st_mode & 07777U, 0604U);
    char buffer[8] = {};
    EXPECT_EQ(::read(old.get(), buffer, sizeof buffer), 3);
    EXPECT_STREQ(buffer, "old") << "whoever had it open still reads the old file, whole";
    if (!hasAttributes) {
        GTEST_SKIP() << "the file system of the temporary folder has no user attributes";
    }
    char note[8] = {};
    EXPECT_EQ(::getxattr(file.path().constData(), "user.note", note, sizeof note), 4);
    EXPECT_STREQ(note, "kept");
    EXPECT_EQ(::getxattr(file.path().constData(), "user.empty", nullptr, 0), 0);
}

TEST(AtomicFile, KeepsTheOwnerWhereItMay) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    const TemporaryFolder folder;
    const FileUrl file = folder.makeFile("store", "old");
    ASSERT_EQ(::chown(file.path().constData(), 1234, 5678), 0);
    writeFileAtomically(file, "new");
    EXPECT_EQ(statusOf(file).st_uid, 1234U);
    EXPECT_EQ(statusOf(file).st_gid, 5678U);
}

TEST(AtomicFile, FollowsLinksToTheirTarget) {
    const TemporaryFolder folder;
    folder.makeFile("real/store", "old");
    folder.makeLink("real/second", "store");
    const FileUrl link = folder.makeLink("first", "real/second");
    const FileUrl dangling = folder.makeLink("dangling", folder.path("real/made"));
    writeFileAtomically(link, "new");
    writeFileAtomically(dangling, "made");
    EXPECT_EQ(readFile(folder.at("real/store")), "new");
    EXPECT_EQ(readFile(folder.at("real/made")), "made");
    EXPECT_TRUE(S_ISLNK(statusOf(link).st_mode));
    EXPECT_TRUE(S_ISLNK(statusOf(dangling).st_mode));
    EXPECT_TRUE(S_ISLNK(statusOf(folder.at("real/second")).st_mode));
}

TEST(AtomicFile, RefusesWhatCannotBeReplaced) {
    const TemporaryFolder folder;
    folder.makeFolder("folder");
    folder.makeLink("loop", "loop");
    folder.makeFile("file", "old");
    ASSERT_EQ(::mkfifo(folder.path("pipe").constData(), 0600), 0);
    for (const char* name : {"folder", "loop", "pipe", "missing/store", "file/store"}) {
        EXPECT_THROW(writeFileAtomically(folder.at(name), "new"), Error) << name;
        EXPECT_THROW(readFile(folder.at(name)), Error) << name;
    }
    EXPECT_THROW(readFile(folder.at("missing")), Error);
    EXPECT_EQ(readFile(folder.at("file")), "old");
    EXPECT_EQ(entriesOf(folder.url()).size(), 4U);
}

TEST(AtomicFile, LeavesTheOldFileWhereWritingIsNotAllowed) {
    const TemporaryFolder folder;
    const Unprivileged rights(folder);
    const FileUrl guarded = folder.makeFile("guarded/store", "old");
    const FileUrl readOnly = folder.makeFile("read-only", "old");
    ASSERT_EQ(::chmod(folder.path("guarded").constData(), 0500), 0);
    ASSERT_EQ(::chmod(readOnly.path().constData(), 0400), 0);
    EXPECT_THROW(writeFileAtomically(guarded, "new"), Error);
    EXPECT_THROW(writeFileAtomically(folder.at("guarded/other"), "new"), Error);
    EXPECT_THROW(writeFileAtomically(readOnly, "new"), Error);
    EXPECT_EQ(readFile(guarded), "old");
    EXPECT_EQ(readFile(readOnly), "old");
    EXPECT_EQ(entriesOf(folder.at("guarded")), std::set<std::string>{"store"});
    EXPECT_EQ(entriesOf(folder.url()), (std::set<std::string>{"guarded", "read-only"}));
    ASSERT_EQ(::chmod(folder.path("guarded").constData(), 0700), 0);
}

TEST(AtomicFile, LeavesTheOldFileOnAFullDisk) {
    const TemporaryFolder folder;
    const TinyFileSystem disk(folder.makeFolder("disk"));
    if (!disk.isMounted()) {
        GTEST_SKIP() << "mounting a small file system is not allowed here";
    }
    const QByteArray old(150'000, 'o');
    const FileUrl file = folder.makeFile("disk/store", old);
    EXPECT_THROW(writeFileAtomically(file, QByteArray(150'000, 'n')), Error);
    EXPECT_EQ(readFile(file), old);
    EXPECT_EQ(entriesOf(folder.at("disk")), std::set<std::string>{"store"});
    writeFileAtomically(file, QByteArray(50'000, 'n'));
    EXPECT_EQ(readFile(file), QByteArray(50'000, 'n')) << "what fits is written";
}

}  // namespace
}  // namespace halvenor
