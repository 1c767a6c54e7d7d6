#pragma once

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>

#include "platform/bookmark/Bookmark.h"
#include "support/TemporaryFolder.h"

namespace halvenor::test {

/// Outward searches begin in the test's folder; what is not there must not cost a walk through the
/// whole disk.
constexpr int64_t fewEntries = 5000;

inline BookmarkResolver::Options shortWalks() {
    BookmarkResolver::Options options;
    options.mostEntries = fewEntries;
    return options;
}

/// The bookmark of something that is there.
inline QByteArray marked(const FileUrl& url) {
    const auto bookmark = makeBookmark(url);
    EXPECT_TRUE(bookmark) << url.path().constData();
    return bookmark.value_or(QByteArray());
}

inline void move(const TemporaryFolder& folder, const QByteArray& from, const QByteArray& to) {
    ASSERT_EQ(std::rename(folder.path(from).constData(), folder.path(to).constData()), 0)
        << from.constData() << " to " << to.constData() << ": " << std::strerror(errno);
}

inline void remove(const FileUrl& url) {
    ASSERT_GT(std::filesystem::remove_all(url.path().toStdString()), 0U);
}

inline std::optional<BookmarkResolution> resolved(
    BookmarkResolver& resolver, const QByteArray& bookmark,
    BookmarkScope scope = BookmarkScope::searchRoots) {
    return resolver.resolve({BookmarkRequest(bookmark, scope)}).front();
}

/// What a resolution says, in one word to compare: the path below `folder`, with " (stale)" behind
/// it where that is so, or "lost".
inline QByteArray told(const std::optional<BookmarkResolution>& resolution,
                       const TemporaryFolder& folder) {
    if (!resolution) {
        return "lost";
    }
    const QByteArray path = resolution->url.path();
    const auto status = fileStatus(resolution->url);
    EXPECT_TRUE(status && status->inode == resolution->status.inode &&
                status->kind == resolution->status.kind)
        << "the status is not that of " << path.constData();
    return path.mid(folder.url().path().size() + 1) + (resolution->isStale ? " (stale)" : "");
}

}  // namespace halvenor::test
