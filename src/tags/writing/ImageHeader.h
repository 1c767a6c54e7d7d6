#pragma once

#include <QByteArrayView>

#include <cstdint>
#include <optional>

namespace halvenor {

/// The size of an image in pixels, as it is stored: before any turning that its metadata asks for.
struct PixelSize {
    uint32_t width = 0;
    uint32_t height = 0;

    bool operator==(const PixelSize&) const = default;
};

/// The size that the header of a PNG (RFC 2083) or JPEG (ITU-T T.81) tells; absent for anything
/// else, and when the header is damaged or tells no size. Decodes nothing, never looks at a byte
/// twice, takes no memory. Any thread.
std::optional<PixelSize> readPixelSize(QByteArrayView image);

}  // namespace halvenor
