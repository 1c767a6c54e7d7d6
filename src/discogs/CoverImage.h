#pragma once

#include <QByteArray>
#include <QSize>

namespace halvenor {

/// Whether the bytes are a whole picture of a kind that covers have (JPEG, PNG, GIF, WebP), found
/// out by decoding it. Pictures of more than 32 million pixels are refused, and JPEGs made to keep
/// a decoder busy. WebP needs Qt's plugin for it. Any thread; takes up to a second.
bool isCoverImage(const QByteArray& bytes);

/// Whether a picture of this size, in pixels, is one that isCoverImage() takes.
bool isCoverSize(const QSize& size);

}  // namespace halvenor
