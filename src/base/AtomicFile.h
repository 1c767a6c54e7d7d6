#pragma once

#include <QByteArray>

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

}  // namespace halvenor
