#include "editing/ArtworkFormat.h"

#include <QBuffer>
#include <QImageReader>

#include <algorithm>

#include "discogs/CoverImage.h"

namespace halvenor {

namespace {

// Pictures made of pixels, of which a plugin for some may be installed. A drawing can keep its
// renderer busy for ever.
constexpr const char* readableFormats[] = {"avif", "bmp", "gif",  "heic", "heif",
                                           "ico",  "jxl", "tiff", "webp"};

QImage decoded(const QByteArray& data) {
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    const QByteArray format = reader.format();
    const bool isReadable =
        std::ranges::any_of(readableFormats, [&](const char* name) { return format == name; });
    if (!isReadable || !isCoverSize(reader.size())) {
        return {};
    }
    return reader.read();
}

}  // namespace

std::optional<QByteArray> normalizedArtworkData(const QByteArray& data) {
    if (data.startsWith("\xFF\xD8") || data.startsWith("\x89PNG")) {
        return isCoverImage(data) ? std::optional(data) : std::nullopt;
    }
    return pngData(decoded(data));
}

std::optional<QByteArray> pngData(const QImage& image) {
    QByteArray png;
    QBuffer buffer(&png);
    const bool isWritten =
        !image.isNull() && buffer.open(QIODevice::WriteOnly) && image.save(&buffer, "PNG");
    return isWritten ? std::optional(png) : std::nullopt;
}

}  // namespace halvenor
