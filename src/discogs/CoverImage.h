#pragma once

#include <QByteArray>

namespace halvenor {

/// Whether the bytes are a whole picture of a kind that covers have (JPEG, PNG, GIF, WebP), found
/// out by decoding it. Pictures of more than 32 million pixels are refused, and JPEGs made to keep
/// a decoder busy. WebP needs Qt's plugin for it. Any thread; takes up to a second.
bool isCoverImage(const QByteArray& bytes);

}  // namespace halvenor
