#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "base/FileDescriptor.h"
#include "model/scanner/FolderScanner.h"
#include "support/EventLoop.h"
#include "support/TemporaryFolder.h"

namespace halvenor {
namespace {

using test::runToCompletion;
using test::TemporaryFolder;

TEST(FolderScanner, AnswersOffTheMainThread) {
    const TemporaryFolder folder;
    folder.makeFile("root/a/1.mp3");
    folder.makeFile("root/b/2.mp3");
    const FileUrl root = folder.at("root");
    FolderScanner& scanner = FolderScanner::shared();

    const DirectorySnapshot listing = runToCompletion(scanner.listDirectory(folder.at("root/a")));
    EXPECT_EQ(listing.tracks.size(), 1);
    const FolderItem item = runToCompletion(scanner.scanDirectory(root));
    EXPECT_EQ(item, FolderItem(root, true,
                               FolderList{FolderItem(folder.at("root/a"), true),
                                          FolderItem(folder.at("root/b"), true)}));
    const auto next = runToCompletion(scanner.nextPlayableFolder(folder.at("root/a"), {root}));
    ASSERT_TRUE(next.has_value());
    EXPECT_EQ(next->folder.id(), folder.path("root/b"));
    const FolderList found = runToCompletion(scanner.searchFolders({root}, QStringLiteral("OOT")));
    EXPECT_EQ(found, FolderList{FolderItem(root, true)});
}

TEST(FolderScanner, WhatWasStoppedEndsWithNothing) {
    const TemporaryFolder folder;
    folder.makeFile("root/a/1.mp3");
    const FileUrl root = folder.at("root");
    std::stop_source source;
    source.request_stop();
    const std::stop_token token = source.get_token();
    FolderScanner& scanner = FolderScanner::shared();
    EXPECT_TRUE(runToCompletion(scanner.listDirectory(root, token)).folders.empty());
    EXPECT_TRUE(runToCompletion(scanner.scanDirectory(root, token)).children->empty());
    EXPECT_FALSE(runToCompletion(scanner.nextPlayableFolder(root, {root}, token)).has_value());
    EXPECT_TRUE(runToCompletion(scanner.searchFolders({root}, QStringLiteral("a"), token)).empty());
}

TEST(FolderScanner, AHugeFolderDoesNotHoldUpTheEventLoop) {
    constexpr int count = 20'000;
    const TemporaryFolder folder;
    const FileDescriptor directory(
        ::open(folder.url().path().constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (int number = 0; number < count; ++number) {
        const QByteArray name = QByteArray::number(count - number) + ".mp3";
        ASSERT_EQ(::mknodat(directory.get(), name.constData(), S_IFREG | 0600, 0), 0);
    }
    auto job = FolderScanner::shared().listDirectory(folder.url());
    const test::EventLoopTicker ticker;
    const DirectorySnapshot listing = runToCompletion(job, std::chrono::minutes(1));
    EXPECT_LT(ticker.longestStall(), 250) << "milliseconds";
    ASSERT_EQ(listing.tracks.size(), count);
    for (int row = 0; row < count; ++row) {
        ASSERT_EQ(listing.tracks[row].title(), QString::number(row + 1));
    }
}

// Deeper than any path that the system takes: what can't be reached is passed over.
TEST(FolderScanner, APathBeyondAllLimitsIsTheEndOfTheWalk) {
    const TemporaryFolder folder;
    FileDescriptor place(
        ::open(folder.url().path().constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const QByteArray name(250, 'd');
    for (int depth = 0; depth < 20; ++depth) {
        ASSERT_EQ(::mkdirat(place.get(), name.constData(), 0700), 0);
        place = FileDescriptor(
            ::openat(place.get(), name.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    }
    ASSERT_EQ(::mknodat(place.get(), "end.mp3", S_IFREG | 0600, 0), 0);
    FolderScanner& scanner = FolderScanner::shared();
    const FolderList found =
        runToCompletion(scanner.searchFolders({folder.url()}, QStringLiteral("ddd")));
    EXPECT_GE(found.size(), 15U);
    EXPECT_LT(found.size(), 20U);
    EXPECT_FALSE(
        runToCompletion(scanner.nextPlayableFolder(folder.url(), {folder.url()})).has_value());
}

}  // namespace
}  // namespace halvenor
