#include "discogs/Pictures.h"

#include <QBuffer>
#include <QImage>
#include <QRandomGenerator>

namespace halvenor::test {

namespace {

QByteArray encoded(const QImage& image, const char* format) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

}  // namespace

QByteArray picture(const char* format, int number) {
    QImage image(5, 4, QImage::Format_RGB32);
    image.fill(QColor(40 + number * 20, 90, 120));
    return encoded(image, format);
}

QByteArray noisePicture(int width, int height) {
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        auto* const line = reinterpret_cast<quint32*>(image.scanLine(y));
        QRandomGenerator(y).fillRange(line, width);
    }
    return encoded(image, "jpeg");
}

QByteArray gifPicture() {
    return QByteArray::fromHex(
        "474946383961010001008000000000ffffff002c00000000010001000002024401003b");
}

}  // namespace halvenor::test
