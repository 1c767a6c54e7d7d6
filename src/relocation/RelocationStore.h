#pragma once

#include <QSet>

#include <memory>

#include "base/FileUrl.h"
#include "base/MoveTable.h"
#include "relocation/RelocationRecord.h"

namespace halvenor {

/// The remembered identity of every path that the library cares about, in one JSON file.
/// docs/stores.md tells the file's form.
///
/// Nothing here fails: a file that can't be read gives an empty store (and is kept aside before it
/// is overwritten), one that can't be written is tried again with the next save. Main thread; the
/// file is read and written off it.
class RelocationStore {
  public:
    using Record = RelocationRecord;

    /// Begins to read the file.
    explicit RelocationStore(const FileUrl& storageURL);
    /// Flushes.
    ~RelocationStore();
    RelocationStore(const RelocationStore&) = delete;
    RelocationStore& operator=(const RelocationStore&) = delete;

    const FileUrl& storageURL() const;
    /// Returns when the file has been read. Any thread, while the store lives.
    void waitUntilLoaded() const;
    /// Waits for the file, if it is still being read.
    const RelocationRecords& records() const;
    /// Replaces the records and saves them. Equal ones cost a comparison.
    void install(const RelocationRecords& records);
    /// Makes the records cover exactly these files and folders, and saves them. All the work on
    /// the disk is done here; off the main thread there is prepared().
    void synchronize(const QSet<QByteArray>& files, const QSet<QByteArray>& folders);
    /// remappedRecords() of what it holds, saved.
    void remap(const MoveTable& moves);
    /// Makes the bookmarks of these paths anew: our own writing has put new items in their places.
    void renewBookmarks(const QSet<QByteArray>& paths);

    /// Waits until the file is written. @return whether it holds the records
    bool flush();

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

/// The file's bytes for these records. Equal records make equal bytes.
QByteArray encodedRecords(const RelocationRecords& records);
/// @throws Error (format) for anything that is not an array of records
RelocationRecords decodedRecords(const QByteArray& json);

/// The records after accepted moves: each path that changes gets a new bookmark, absent if nothing
/// is there; all else stays, as moved content is the same content. Touches the disk; any thread.
RelocationRecords remappedRecords(RelocationRecords records, const MoveTable& moves);

}  // namespace halvenor
