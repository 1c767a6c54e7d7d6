#include "tags/writing/ImageHeader.h"

#include <QtEndian>

namespace halvenor {

namespace {

// The largest that PNG allows; JPEG counts in 16 bits.
constexpr uint32_t maximumSide = 0x7fffffff;

std::optional<PixelSize> checked(PixelSize size) {
    const bool isSize = size.width > 0 && size.height > 0 && size.width <= maximumSide &&
                        size.height <= maximumSide;
    return isSize ? std::optional<PixelSize>(size) : std::nullopt;
}

// The first chunk must be the header: length, "IHDR", width, height.
std::optional<PixelSize> pngSize(QByteArrayView image) {
    constexpr qsizetype chunk = 8;
    if (image.size() < chunk + 16 || image.sliced(chunk + 4, 4) != "IHDR") {
        return std::nullopt;
    }
    return checked({qFromBigEndian<quint32>(image.data() + chunk + 8),
                    qFromBigEndian<quint32>(image.data() + chunk + 12)});
}

uint8_t byteAt(QByteArrayView bytes, qsizetype index) {
    return static_cast<uint8_t>(bytes[index]);
}

// SOF0 to SOF15, but for the three codes in their midst that mean something else.
bool isStartOfFrame(uint8_t marker) {
    return marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
}

// TEM, RST0 to RST7 and SOI: markers without a segment.
bool isAlone(uint8_t marker) {
    return marker == 0x01 || (marker >= 0xd0 && marker <= 0xd8);
}

bool isEndOfHeader(uint8_t marker) {
    constexpr uint8_t endOfImage = 0xd9;
    constexpr uint8_t startOfScan = 0xda;
    return marker == endOfImage || marker == startOfScan;
}

// From marker to marker until a frame begins. Like decoders it passes over stray bytes between
// segments, and over FF bytes that fill.
std::optional<PixelSize> jpegSize(QByteArrayView image) {
    qsizetype position = 2;
    for (;;) {
        while (position < image.size() && byteAt(image, position) != 0xff) {
            ++position;
        }
        while (position < image.size() && byteAt(image, position) == 0xff) {
            ++position;
        }
        if (position >= image.size()) {
            return std::nullopt;
        }
        const uint8_t marker = byteAt(image, position++);
        if (marker == 0 || isAlone(marker)) {
            continue;
        }
        if (isEndOfHeader(marker) || position + 2 > image.size()) {
            return std::nullopt;
        }
        const auto length = qFromBigEndian<quint16>(image.data() + position);
        if (isStartOfFrame(marker)) {
            // Length, bits per sample, height, width.
            if (length < 8 || position + 7 > image.size()) {
                return std::nullopt;
            }
            return checked({qFromBigEndian<quint16>(image.data() + position + 5),
                            qFromBigEndian<quint16>(image.data() + position + 3)});
        }
        position += std::max<quint16>(length, 2);
    }
}

}  // namespace

std::optional<PixelSize> readPixelSize(QByteArrayView image) {
    if (image.startsWith("\x89PNG\r\n\x1a\n")) {
        return pngSize(image);
    }
    if (image.startsWith("\xff\xd8\xff")) {
        return jpegSize(image);
    }
    return std::nullopt;
}

}  // namespace halvenor
