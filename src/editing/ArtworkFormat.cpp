#include "editing/ArtworkFormat.h"

#include <QBuffer>
#include <QImage>

namespace halvenor {

std::optional<QByteArray> normalizedArtworkData(const QByteArray& data) {
    const QImage image = QImage::fromData(data);
    if (image.isNull()) {
        return std::nullopt;
    }
    if (data.startsWith("\xFF\xD8") || data.startsWith("\x89PNG")) {
        return data;
    }
    QByteArray png;
    QBuffer buffer(&png);
    const bool isWritten = buffer.open(QIODevice::WriteOnly) && image.save(&buffer, "PNG");
    return isWritten ? std::optional(png) : std::nullopt;
}

}  // namespace halvenor
