#pragma once

#include <QByteArray>

namespace halvenor::test {

/// A small picture, its pixels after its number so that each has its own bytes.
/// @param format as Qt names it: "jpeg", "png", "webp", "tiff", "bmp"
QByteArray picture(const char* format, int number = 0);

/// A JPEG of noise: large, and slow to decode. @param width, height pixels
QByteArray noisePicture(int width, int height);

/// A GIF of one pixel, by hand: Qt writes none.
QByteArray gifPicture();

}  // namespace halvenor::test
