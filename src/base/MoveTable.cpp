#include "base/MoveTable.h"

#include <optional>

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
    const auto moved = [&](qsizetype length) -> std::optional<QByteArray> {
        const auto move = moves.constFind(QByteArray::fromRawData(path.constData(), length));
        return move == moves.constEnd() ? std::nullopt : std::optional(*move + path.mid(length));
    };
    for (qsizetype length = moves.isEmpty() ? 0 : path.size(); length > 0;) {
        if (const auto result = moved(length)) {
            return *result;
        }
        const bool isAfterSlash = path.at(length - 1) == '/';
        length = isAfterSlash ? length - 1 : path.lastIndexOf('/', length - 1) + 1;
    }
    return path;
}

}  // namespace halvenor
