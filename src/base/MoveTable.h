#pragma once

#include <QByteArray>
#include <QHash>

namespace halvenor {

/// Old absolute path to new absolute path. Keys are files or folders; a folder stands for
/// everything under it.
using MoveTable = QHash<QByteArray, QByteArray>;

/// Whether `path` is `root` or lies under it. Exact bytes; "/Music/AB" is not inside "/Music/A",
/// and a root with a slash at its end gets no second one.
bool inside(const QByteArray& path, const QByteArray& root);

/// `path` with `replacement` in place of `old`, if it is inside `old`; otherwise `path`.
QByteArray replacing(const QByteArray& path, const QByteArray& old, const QByteArray& replacement);

/// `path` after the longest key of `moves` that it is inside of, so that a nested move overrides
/// its parent. Applied once; the result is not translated again.
QByteArray remapped(const QByteArray& path, const MoveTable& moves);

}  // namespace halvenor
