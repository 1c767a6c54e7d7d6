#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>

#include "platform/bookmark/Bookmark.h"
#include "platform/bookmark/BookmarkData.h"

namespace halvenor {

/// A request whose item is not at its stored place, and what comes to light about it.
struct LostItem {
    size_t request = 0;  ///< its number
    BookmarkScope scope = BookmarkScope::searchRoots;
    BookmarkFront front;  ///< with a path of its own
    BookmarkBack back;    ///< views into the request's bytes

    /// The file system that it was on, if that is there, as FileStatus names it.
    std::optional<uint64_t> device;
    /// The folder on it from which to search outward.
    QByteArray nearest;
    /// How many of the folders above it are not at their places either, from the nearest.
    size_t lostLevels = 0;

    std::optional<BookmarkResolution> found;
    /// A place that will do if no better one comes up: in a trash, or outside the search roots.
    std::optional<BookmarkResolution> second;
};

/// `path` with another folder in place of its first `length` bytes.
QByteArray rebased(const QByteArray& path, qsizetype length, const QByteArray& folder);

}  // namespace halvenor
