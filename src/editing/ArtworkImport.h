#pragma once

#include <QString>

#include <functional>
#include <optional>

#include "editing/ArtworkSource.h"

namespace halvenor {

/// What became of an image that was to be a cover.
struct ImportedArtwork {
    ImportedArtwork() = default;
    explicit ImportedArtwork(std::optional<QByteArray> normalized);

    /// Ready for a file's tags; absent when it can't be used.
    std::optional<QByteArray> data;
    /// Why it can't, for the user.
    QString error;

    static ImportedArtwork failed(const QString& error);
};

/// Work for another thread than the main one.
using ArtworkImport = std::function<ImportedArtwork()>;

ArtworkImport importOfBytes(const QByteArray& data);
ArtworkImport importOfImage(const QImage& image);
/// Looks at the kind of file, reads it, and takes what it holds.
ArtworkImport importOfFile(const FileUrl& url);

}  // namespace halvenor
