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

QByteArray remapped(const QByteArray& path, const MoveTable& moves) {
    // All keys that match begin the same path, so the longest in bytes is the longest in text.
    auto best = moves.constEnd();
    for (auto move = moves.constBegin(); move != moves.constEnd(); ++move) {
        const bool isLonger = best == moves.constEnd() || move.key().size() > best.key().size();
        if (isLonger && inside(path, move.key())) {
            best = move;
        }
    }
    return best == moves.constEnd() ? path : replacing(path, best.key(), best.value());
}

}  // namespace halvenor
