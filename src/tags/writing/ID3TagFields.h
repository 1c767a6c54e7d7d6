#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>

namespace halvenor {

/// One edit of a file's tags. What is absent stays in the file as it is; an empty text is a value.
struct ID3TagFields {
    std::optional<QString> title;
    std::optional<QString> artist;
    std::optional<QString> album;
    std::optional<QString> albumArtist;
    std::optional<int64_t> year;
    /// The bytes of an image file, as they are.
    std::optional<QByteArray> artworkData;
    QString artworkMimeType;
};

}  // namespace halvenor
