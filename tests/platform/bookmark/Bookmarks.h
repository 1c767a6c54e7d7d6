#pragma once

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>

#include "platform/bookmark/Bookmark.h"
#include "support/TemporaryFolder.h"

namespace halvenor::test {

constexpr BookmarkScope roots = BookmarkScope::searchRoots;
constexpr BookmarkScope anywhere = BookmarkScope::fileSystem;

/// Outward searches begin in the test's folder; what is not there must not cost a walk through the
/// whole disk.
inline BookmarkResolver::Options shortWalks() {
    BookmarkResolver::Options options;
    options.mostEntries = 5000;
    return options;
}

/// A folder in which things are marked, moved about and sought again. Names are relative to it.
struct MarkedFolder {
    FileUrl at(const QByteArray& name) const { return folder.at(name); }
    /// The bookmark of something that is there.
    QByteArray marked(const QByteArray& name) const {
        const auto bookmark = makeBookmark(at(name));
        EXPECT_TRUE(bookmark) << name.constData();
        return bookmark.value_or(QByteArray());
    }
    std::vector<BookmarkRequest> requests(const QList<QByteArray>& names,
                                          BookmarkScope scope = roots) const {
        std::vector<BookmarkRequest> all;
        for (const QByteArray& name : names) {
            all.emplace_back(marked(name), scope);
        }
        return all;
    }

    void move(const QByteArray& from, const QByteArray& to) const {
        ASSERT_EQ(std::rename(folder.path(from).constData(), folder.path(to).constData()), 0)
            << from.constData() << " to " << to.constData() << ": " << std::strerror(errno);
    }
    void remove(const QByteArray& name) const {
        ASSERT_GT(std::filesystem::remove_all(folder.path(name).toStdString()), 0U);
    }

    void setLocations(const QList<QByteArray>& names) {
        QList<QByteArray> paths;
        for (const QByteArray& name : names) {
            paths.append(folder.path(name));
        }
        resolver->setLocations(paths);
    }
    /// What a resolution says, in one word to compare: the path below the folder, with " (stale)"
    /// behind it where that is so, or "lost".
    QByteArray told(const std::optional<BookmarkResolution>& resolution) const {
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
    /// What the resolver says of each request.
    QList<QByteArray> answers(const std::vector<BookmarkRequest>& requests,
                              const std::stop_token& token = {}) {
        QList<QByteArray> all;
        for (const auto& resolution : resolver->resolve(requests, token)) {
            all.append(told(resolution));
        }
        return all;
    }
    QByteArray answer(const QByteArray& bookmark, BookmarkScope scope = roots) {
        return answers({BookmarkRequest(bookmark, scope)}).value(0);
    }

    TemporaryFolder folder;
    std::optional<BookmarkResolver> resolver{std::in_place, shortWalks()};
};

using Answers = QList<QByteArray>;

}  // namespace halvenor::test
