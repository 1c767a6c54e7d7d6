#pragma once

#include <QByteArray>
#include <QList>

#include <cstdint>
#include <sys/stat.h>
#include <vector>

#include "base/FileDescriptor.h"
#include "base/FileUrl.h"

namespace halvenor {

/// The whole content of a regular file. Any thread.
/// @throws Error (io)
QByteArray readFile(const FileUrl& url);

/// Puts `contents` in the place of the file at `url`, or makes it: whole and on the disk, or not at
/// all. Written to a temporary file in the same folder, flushed, given the old file's mode, owner
/// where allowed and extended attributes, renamed over it, and the folder flushed. A symbolic link
/// is followed: its target is what is replaced. A file that may not be written, or that is no
/// regular file, is not replaced either. On failure the old file is untouched and the temporary one
/// gone. A new file gets `mode`; its folder must exist. Any thread.
/// @throws Error (io)
void writeFileAtomically(const FileUrl& url, const QByteArray& contents, unsigned mode = 0600);

/// The replacement of a file by one with another beginning: for files too large to be held in
/// memory, most of whose bytes stay as they are.
///
/// Opens the file once. What is read and what is kept are the bytes of that file, and only that
/// file is replaced: if it has changed, moved or gone before the new one is complete, replace()
/// fails and leaves things as they are then. A symbolic link is followed to its target, whose
/// folder is opened once, too. Any thread, one at a time.
class FileReplacement {
  public:
    /// @throws Error (io) when it can't be read or is no regular file
    explicit FileReplacement(const FileUrl& url);

    /// In bytes, when it was opened.
    int64_t size() const { return status_.st_size; }
    /// The bytes from `offset` on: `length` of them, or as many as the file had when it was opened.
    /// @throws Error (io), also when there are fewer by now
    QByteArray read(int64_t offset, int64_t length) const;

    /// Puts in its place, as writeFileAtomically() does, a file of the bytes of `head`, one piece
    /// behind the other, and those of the old file from `keptFrom` on. The folder is left for
    /// flushFoldersOf(): after a power cut before that, the old file may be back, as whole as the
    /// new one. What is kept passes through
    /// no memory of the process where the file system can copy by itself. Whoever has the old file
    /// open, or reaches it by a second hard link, keeps it as it was. At most once.
    /// @throws Error (io); the old file is untouched then, and nothing is left beside it
    void replace(const std::vector<QByteArray>& head, int64_t keptFrom);

  private:
    /// @return its status now. @throws Error (io)
    struct stat requireUnchanged() const;

    FileUrl target_;
    FileDescriptor folder_;
    struct stat status_ = {};
    FileDescriptor file_;
};

/// Sees to it that what was put in the places of these files is there for good; of a symbolic link
/// that is its target's place. Each folder is flushed once. One that has gone, or can't be flushed,
/// is left to the system. Any thread.
void flushFoldersOf(const QList<FileUrl>& urls);

}  // namespace halvenor
