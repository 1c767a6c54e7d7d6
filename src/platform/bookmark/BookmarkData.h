#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>
#include <vector>

#include "base/FileStatus.h"

/// The bytes of a bookmark. Version 1, integers little-endian, "varint" in groups of seven bits,
/// lowest first (LEB128):
///
///     "hb", version u8, length of all u16
///     kind u8 (0 file, 1 folder, 2 other)
///     identity of the item
///     path: varint length, bytes
///     file system u64, size varint, modified i64
///     length of the part of the path that is its file system's top folder, varint; 0 if unknown
///     number of ancestors u8, the identity of each, from the nearest outward, none left out
///
///     identity: u8 (bit 7: a birth time follows; the rest: bytes of the handle), inode varint,
///     birth i64, handle
///
/// The front is all that is read of a bookmark whose item has not moved. Bytes are believed in
/// nothing: whatever does not add up is no bookmark.
namespace halvenor {

/// What tells one item of a file system from all others that it has or had. An inode number alone
/// does not: it is given out again.
struct ItemIdentity {
    static constexpr qsizetype longestHandle = 127;  ///< bytes

    uint64_t inode = 0;
    std::optional<int64_t> born;  ///< as in FileStatus
    QByteArray handle;            ///< the kernel's handle, type first; empty where there is none
};

/// What finds an item that has not moved.
struct BookmarkFront {
    FileStatus::Kind kind = FileStatus::Kind::other;
    ItemIdentity item;
    QByteArray path;  ///< absolute, standardised
};

/// What helps to find one that has.
struct BookmarkBack {
    static constexpr size_t mostAncestors = 6;

    uint64_t fileSystem = 0;  ///< as the system names it, the same at the next mount if possible
    int64_t size = 0;
    int64_t modified = 0;
    qsizetype topLength = 0;              ///< how many bytes of the path are the file system's top
    std::vector<ItemIdentity> ancestors;  ///< of the folders above, nearest first
};

QByteArray encodedBookmark(const BookmarkFront& front, const BookmarkBack& back);

/// The front of a bookmark, reading no further. Handle and path are views into `bookmark`, which
/// has to outlive them. Absent if it is none.
std::optional<BookmarkFront> decodedFront(const QByteArray& bookmark);

/// The other part, its handles views as well; absent if the bookmark is damaged.
std::optional<BookmarkBack> decodedBack(const QByteArray& bookmark);

/// How many bytes of `path` are the folder `levels` above; 0 above the root.
qsizetype lengthOfAncestor(const QByteArray& path, size_t levels);

}  // namespace halvenor
