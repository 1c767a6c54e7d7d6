#include "base/MoveTable.h"

namespace halvenor {

bool inside(const QByteArray& path, const QByteArray& root) {
    if (path == root) {
        return true;
    }
    if (!path.startsWith(root)) {
        return false;
    }
    return root.endsWith('/') || path.at(root.size()) == '/';
}

QByteArray replacing(const QByteArray& path, const QByteArray& old, const QByteArray& replacement) {
    return inside(path, old) ? replacement + path.mid(old.size()) : path;
}

// Everything that a path can be inside of begins the path: the path itself, and what stands before
// each slash, with the slash or without. The longest is asked for first.
QByteArray remapped(const QByteArray& path, const MoveTable& moves) {
    if (moves.isEmpty()) {
        return path;
    }
    const auto find = [&](qsizetype length) {
        return moves.constFind(QByteArray::fromRawData(path.constData(), length));
    };
    auto move = find(path.size());
    for (qsizetype slash = path.lastIndexOf('/'); move == moves.constEnd() && slash >= 0;
         slash = slash > 0 ? path.lastIndexOf('/', slash - 1) : -1) {
        move = find(slash + 1);
        if (move == moves.constEnd()) {
            move = find(slash);
        }
    }
    return move == moves.constEnd() ? path : replacing(path, move.key(), move.value());
}

}  // namespace halvenor
