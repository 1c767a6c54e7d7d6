#pragma once

#include <QByteArray>

#include <functional>
#include <memory>
#include <optional>

#include "base/FileUrl.h"

namespace halvenor {

/// Makes `folder` and the folders above it that are missing, for this user alone.
/// @throws Error (io)
void makeFolders(const FileUrl& folder);

/// Keeps what is at `file` under a second name beside it: "name.damaged-1" or the next number that
/// is free. @throws Error (io)
void keepDamagedCopy(const FileUrl& file);

/// The one file behind a store that lives in memory: read once, then replaced as a whole, off the
/// main thread, each time the store has changed.
///
/// Writing is atomic. A file that can't be read, or that its store could not understand, is kept
/// aside before it is first overwritten; if that fails, nothing is written. Failures go to the log:
/// the store goes on in memory, and the next save or flush tries again. Bytes equal to those last
/// read or written are not written again. One owner thread; the encoding runs on a thread of the
/// object's.
class StoreFile {
  public:
    explicit StoreFile(FileUrl url);
    /// Flushes.
    ~StoreFile();
    StoreFile(const StoreFile&) = delete;
    StoreFile& operator=(const StoreFile&) = delete;

    const FileUrl& url() const;

    /// The file's bytes; absent when there is none, or when it can't be read. Before the first
    /// save; any thread, if the owner waits for it.
    std::optional<QByteArray> read();
    /// What was read could not be understood.
    void setDamaged();

    /// Puts what `encode` returns into the file, soon. `encode` works on copies of its own. A save
    /// that has not begun when the next is asked for is left out. What `encode` throws counts as a
    /// failure to write.
    void save(std::function<QByteArray()> encode);
    /// Waits until the last save is done; tries once more if it had failed.
    /// @return whether the file holds it
    bool flush();
    /// Whether everything that was to be saved is in the file, as far as is known now.
    bool isUpToDate() const;

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace halvenor
