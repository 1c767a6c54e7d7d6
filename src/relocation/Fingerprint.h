#pragma once

#include <QByteArray>

#include <optional>

#include "base/FileUrl.h"

namespace halvenor {

/// What tells a file's content from another's without reading much of it: its size in bytes in
/// decimal, a colon, and 64 lower-case hexadecimal digits of a SHA-256.
///
/// What is hashed are blocks of 64 KiB, one after the other in order of their place: the first, the
/// one around the middle (from size / 2 - 32 KiB, from 64 KiB of size on), the last. Blocks at one
/// place are read once, and those that overlap are hashed as they are; a smaller file is hashed
/// whole. So 192 KiB are read at most, and a difference outside the blocks is not seen.
///
/// Absent for what is no regular file or can't be read. Links are followed. Any thread.
std::optional<QByteArray> fingerprint(const FileUrl& url);

}  // namespace halvenor
