#pragma once

#include <QByteArray>
#include <QHash>

#include <optional>
#include <vector>

#include "platform/bookmark/BookmarkData.h"
#include "platform/bookmark/linux/SeenItem.h"

namespace halvenor {

/// Makes bookmarks, and remembers the folders that it has looked at on the way. So one is to be
/// used for items that are marked together, and not to be kept.
class BookmarkMaker {
  public:
    /// Absent when nothing is at `path`. @param path absolute and standardised
    std::optional<QByteArray> made(const QByteArray& path);

  private:
    // The folders from one outward that are on one file system.
    struct Chain {
        uint64_t device = 0;
        std::vector<ItemIdentity> identities;
        qsizetype topLength = 0;
    };

    const Chain& chainFrom(const QByteArray& folder);
    const std::optional<FileStatus>& statusOf(const QByteArray& folder);
    FileSystemFacts fileSystem(uint64_t device, const QByteArray& path);

    QHash<QByteArray, Chain> chains_;
    QHash<QByteArray, std::optional<FileStatus>> statuses_;
    QHash<uint64_t, FileSystemFacts> fileSystems_;
};

}  // namespace halvenor
