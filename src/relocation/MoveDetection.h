#pragma once

#include <QSet>

#include <optional>
#include <stop_token>
#include <vector>

#include "base/MoveTable.h"
#include "platform/bookmark/Bookmark.h"
#include "relocation/RelocationRecord.h"

/// Which remembered items have moved, and what is remembered of those that have not. Functions of
/// their arguments and of the disk; any thread, one at a time for a resolver. A stopped call
/// returns early with what is no result.
namespace halvenor {

/// What resolvedMoves saw.
struct ResolvedMoves {
    /// From where the record says to where the item is now. May hold a folder and files under it.
    MoveTable moves;
    /// The records that it was asked about.
    RelocationRecords records;
    /// For each of them, in order, when the item at the record's path was modified, as a record has
    /// it: so that it need not be looked at again at once. Absent for one that was not seen there.
    std::vector<std::optional<double>> dates;
    /// Records' paths whose bookmarks should be made anew.
    QSet<QByteArray> stale;
};

/// Follows the bookmarks. One that leads into a trash, to nothing, or to where the record says
/// makes no move. Content is not looked at: a bookmark is trusted.
/// @param mayGoAnywhere paths of records that are looked for on their whole file system; the others
/// are looked for below the resolver's Locations
ResolvedMoves resolvedMoves(const RelocationRecords& records, const QSet<QByteArray>& mayGoAnywhere,
                            BookmarkResolver& resolver, std::stop_token token = {});

/// The records that cover exactly `files` and `folders` (a path in both is a folder), brought up to
/// date: survivors in their old order, then new ones in order of path. Of records with one path the
/// first stays. What is missing now keeps all that was known of it. When nothing has changed the
/// result is the records themselves, and no file's content was read.
/// @param lastSeen what resolvedMoves saw just before; of use as long as `records` is the very list
/// that it was given
RelocationRecords prepared(const RelocationRecords& records, const QSet<QByteArray>& files,
                           const QSet<QByteArray>& folders, const ResolvedMoves& lastSeen = {},
                           std::stop_token token = {});

/// Whether the folder at `newPath` can stand for the one remembered at `oldPath`: all that is
/// remembered under the old is under the new, of the same kind, and at least one file's content was
/// compared and is the same. At most 192 KiB of a file are read.
bool validate(const RelocationRecords& records, const QByteArray& oldPath,
              const QByteArray& newPath, std::stop_token token = {});

}  // namespace halvenor
