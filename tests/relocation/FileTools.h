#pragma once

#include <QByteArray>

#include <cstdint>

#include "base/FileUrl.h"

/// What the tests of remembered files do to files, and ask of them.
namespace halvenor::test {

/// Bytes without a pattern that repeats; the same for the same seed.
QByteArray noise(qsizetype size, unsigned seed = 1);

/// Sets when the item was modified. @param seconds since 1970-01-01 UTC
void setModified(const FileUrl& url, double seconds);

/// Bytes that this process has read so far, from anything.
int64_t bytesRead();

/// Renames or moves the item; it must succeed.
void move(const FileUrl& from, const FileUrl& to);

/// Removes the file; it must succeed.
void remove(const FileUrl& url);

/// Writes over a part of the file without replacing it.
void overwrite(const FileUrl& url, int64_t offset, const QByteArray& bytes);

}  // namespace halvenor::test
