#include "discogs/CoverImage.h"

#include <QBuffer>
#include <QImageReader>

namespace halvenor {

namespace {

// 128 MiB decoded, which is also what Qt's readers take at most.
constexpr qint64 mostPixels = 32 << 20;
// A progressive JPEG has some ten scans. Each costs time for the whole picture, however few bytes
// it has itself.
constexpr qsizetype mostScans = 100;

// The kind of picture that the first bytes announce; empty for others. Only that kind's decoder
// gets to see the bytes.
QByteArray formatOf(const QByteArray& bytes) {
    if (bytes.startsWith("\xFF\xD8\xFF")) {
        return "jpeg";
    }
    if (bytes.startsWith("\x89PNG\r\n\x1A\n")) {
        return "png";
    }
    if (bytes.startsWith("GIF8")) {
        return "gif";
    }
    const bool isWebP = bytes.startsWith("RIFF") && bytes.mid(8, 4) == "WEBP";
    return isWebP ? "webp" : QByteArray();
}

}  // namespace

bool isCoverImage(const QByteArray& bytes) {
    const QByteArray format = formatOf(bytes);
    if (format.isEmpty() || (format == "jpeg" && bytes.count("\xFF\xDA") > mostScans)) {
        return false;
    }
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, format);
    reader.setAutoDetectImageFormat(false);
    return isCoverSize(reader.size()) && !reader.read().isNull();
}

bool isCoverSize(const QSize& size) {
    return !size.isEmpty() && qint64{size.width()} * qint64{size.height()} <= mostPixels;
}

}  // namespace halvenor
