#include "editing/ArtworkImport.h"

#include "base/AtomicFile.h"
#include "base/Error.h"
#include "base/FileStatus.h"
#include "editing/ArtworkFormat.h"

namespace halvenor {

namespace {

// The largest image that is taken, uncompressed in a TIFF file.
constexpr int64_t mostFileBytes = int64_t{128} << 20;

ImportedArtwork importFile(const FileUrl& url) {
    if (!isImageFile(url)) {
        return ImportedArtwork::failed(QStringLiteral("Please select an image file, not %1.")
                                           .arg(displayText(url.lastPathComponent())));
    }
    const auto status = fileStatus(url);
    if (status && status->size > mostFileBytes) {
        return ImportedArtwork(std::nullopt);
    }
    QByteArray bytes;
    try {
        bytes = readFile(url);
    } catch (const Error&) {
        return ImportedArtwork::failed(QStringLiteral("Could not read the selected image."));
    }
    return ImportedArtwork(normalizedArtworkData(bytes));
}

}  // namespace

ImportedArtwork::ImportedArtwork(std::optional<QByteArray> normalized)
    : data(std::move(normalized)) {
    if (!data) {
        error = QStringLiteral("The selected file is not a supported image.");
    }
}

ImportedArtwork ImportedArtwork::failed(const QString& error) {
    ImportedArtwork result;
    result.error = error;
    return result;
}

ArtworkImport importOfBytes(const QByteArray& data) {
    return [data] { return ImportedArtwork(normalizedArtworkData(data)); };
}

ArtworkImport importOfImage(const QImage& image) {
    return [image] { return ImportedArtwork(pngData(image)); };
}

ArtworkImport importOfFile(const FileUrl& url) {
    return [url] { return importFile(url); };
}

}  // namespace halvenor
