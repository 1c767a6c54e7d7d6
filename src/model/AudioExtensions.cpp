#include "model/AudioExtensions.h"

namespace halvenor {

const QSet<QByteArray>& supportedExtensions() {
    static const QSet<QByteArray> all = [] {
        QSet<QByteArray> made;
        for (const std::string_view extension : audioExtensions) {
            made.insert(QByteArray(extension.data(), static_cast<qsizetype>(extension.size())));
        }
        return made;
    }();
    return all;
}

}  // namespace halvenor
