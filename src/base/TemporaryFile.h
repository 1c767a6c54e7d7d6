#pragma once

#include <QByteArray>

#include <cstdint>
#include <sys/stat.h>

#include "base/FileDescriptor.h"
#include "base/FileUrl.h"

namespace halvenor {

/// A new file in the folder of the one whose place it will take. Gone with the object unless it has
/// taken that place. Only for its owner to read until it takes over a status.
///
/// It is hidden, its name says whose it is (".halvenor-", a number, ".tmp"), and it is locked
/// (flock) for as long as it is being written: what a killed process has left is the same without
/// the lock.
class TemporaryFile {
  public:
    /// @param folder a descriptor that outlives this
    /// @throws Error (io)
    explicit TemporaryFile(int folder);
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    /// Open for writing.
    int descriptor() const { return file_.get(); }

    /// Takes over what the file `original` carries beside its bytes: mode, extended attributes, and
    /// the owner where that is allowed.
    /// @param status of `original`
    /// @throws Error (io)
    void takeStatus(const FileUrl& original, const struct stat& status);

    /// Sees to it that all of it is on the disk. @throws Error (io)
    void flush();

    /// Takes the place `name` in the folder, over whatever has it. @throws Error (io)
    void place(const QByteArray& name);

  private:
    int folder_;
    QByteArray name_;
    FileDescriptor file_;
    bool isPlaced_ = false;
};

/// Removes the temporary files that killed processes have left in `folder`: those of this user that
/// nobody holds locked and that were last written before `before`. What can't be looked at or
/// removed stays. Any thread; reads the whole folder.
/// @param before seconds since 1970-01-01 UTC
void removeAbandonedTemporaries(const FileUrl& folder, int64_t before);

}  // namespace halvenor
