#pragma once

#include <QByteArrayView>

#include <cstdint>

namespace halvenor {

/// Writes all of `bytes` where the descriptor `to` stands. Any thread.
/// @throws Error (io)
void writeFully(int to, QByteArrayView bytes);

/// Appends `length` bytes of the regular file open as `from`, from `offset` on, to the regular file
/// open as `to`, which must stand at its end. The kernel copies where it can; otherwise blocks pass
/// through memory, so that the memory needed does not grow with the length. Holes stay holes. Moves
/// the position of both. Any thread.
/// @throws Error (io), also when `from` ends before that
void appendStretch(int from, int64_t offset, int64_t length, int to);

}  // namespace halvenor
