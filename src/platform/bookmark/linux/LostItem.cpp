#include "platform/bookmark/linux/LostItem.h"

namespace halvenor {

QByteArray rebased(const QByteArray& path, qsizetype length, const QByteArray& folder) {
    QByteArray rest = path.mid(length);
    if (rest.startsWith('/')) {
        rest.remove(0, 1);
    }
    return rest.isEmpty() ? folder : FileUrl(folder).appendingPathComponent(rest).path();
}

}  // namespace halvenor
