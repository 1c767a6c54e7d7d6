#pragma once

#include <QByteArray>
#include <QImage>

#include <optional>

namespace halvenor {

/// An image as it may go into a file's tags: JPEG and PNG as they are, other pictures, turned the
/// way they are meant to be seen, as PNG. Absent for what is no image, for drawings (SVG), and for
/// what is too large to be a cover, which its head tells before anything is decoded. Any thread;
/// takes up to a second for an image that is taken.
std::optional<QByteArray> normalizedArtworkData(const QByteArray& data);

/// A decoded image as PNG. Absent for a null one. Any thread.
std::optional<QByteArray> pngData(const QImage& image);

}  // namespace halvenor
