#pragma once

#include <QByteArray>

#include <functional>
#include <memory>

#include "base/FileUrl.h"

namespace halvenor {

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

    /// Hands the file's bytes to `decode`; not if there is no file, or it can't be read. What
    /// `decode` throws tells that its store could not understand them. Once, before the first save;
    /// any thread, if the owner waits for it.
    void read(const std::function<void(const QByteArray&)>& decode);

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
