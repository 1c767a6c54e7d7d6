#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>

#include "base/FileStatus.h"
#include "platform/bookmark/BookmarkData.h"

namespace halvenor {

/// One item as it is found in the file system, links followed: its status at once, the rest when it
/// is asked for. Nothing is mounted for it.
class SeenItem {
  public:
    /// @param folder a descriptor, or AT_FDCWD for an absolute `name`; has to outlive this
    SeenItem(int folder, QByteArray name);

    bool exists() const { return status_.has_value(); }
    /// Only if it exists.
    const FileStatus& status() const { return *status_; }

    /// Whether this, at the place where an item was, is that item. One that neither has a birth
    /// time nor a handle is believed by its number: nothing better is to be had.
    bool isStill(FileStatus::Kind kind, const ItemIdentity& identity);

    /// Whether this, at another place, is the item of a bookmark. An inode number alone is not
    /// believed: a file without more has to have kept its size and its time as well.
    bool isMoved(const BookmarkFront& front, const BookmarkBack& back);
    /// The same for a folder of which only the identity is known.
    bool isMovedFolder(const ItemIdentity& identity);

    /// How many names the item has; 0 if that can't be told.
    uint64_t linkCount() const;

  private:
    enum class Match { none, number, proof };

    Match byBirth(const ItemIdentity& identity) const;
    Match byHandle(const ItemIdentity& identity);
    Match thorough(const ItemIdentity& identity);
    const QByteArray& handle();

    int folder_;
    QByteArray name_;
    std::optional<FileStatus> status_;
    std::optional<QByteArray> handle_;
};

/// The kernel's handle of an item: type and bytes, with which nothing can be opened but by root.
/// Empty where the file system gives none. Links are followed.
QByteArray fileHandle(int folder, const QByteArray& name);

/// What is to be known of a file system.
struct FileSystemFacts {
    /// Made from the file system's UUID where it has one; elsewhere the same only until it is
    /// unmounted. 0 if the file system says nothing.
    uint64_t id = 0;
    /// Whether handles mean the same item at another time.
    bool hasLastingHandles = false;
};

/// The file system that `path` is on; absent if nothing is there.
std::optional<FileSystemFacts> fileSystemAt(const QByteArray& path);

}  // namespace halvenor
