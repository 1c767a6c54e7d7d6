#pragma once

#include <QByteArray>

#include <optional>

namespace halvenor {

/// An image as it may go into a file's tags: JPEG and PNG as they are, anything else that decodes
/// as PNG. Absent for what is no image. Any thread.
std::optional<QByteArray> normalizedArtworkData(const QByteArray& data);

}  // namespace halvenor
