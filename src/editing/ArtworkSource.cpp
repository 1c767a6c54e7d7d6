#include "editing/ArtworkSource.h"

#include <QMimeData>
#include <QMimeDatabase>

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <unistd.h>

#include "base/FileDescriptor.h"

namespace halvenor {

namespace {

bool isImage(const QMimeType& type) {
    return type.name().startsWith(QLatin1String("image/"));
}

QByteArray firstBytes(const FileUrl& url) {
    // Nobody waits for the other end of a pipe.
    const FileDescriptor file(::open(url.path().constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    std::array<char, 4096> bytes;
    const ssize_t count = file.isOpen() ? ::read(file.get(), bytes.data(), bytes.size()) : 0;
    return {bytes.data(), std::max<ssize_t>(count, 0)};
}

// As they are listed; absent for those that are no file here. Read from the bytes, as a name need
// not be text.
QList<std::optional<FileUrl>> listedUrls(const QMimeData& data) {
    QList<std::optional<FileUrl>> urls;
    for (const QByteArray& line : data.data(QStringLiteral("text/uri-list")).split('\n')) {
        const QByteArray url = line.trimmed();
        if (!url.isEmpty() && !url.startsWith('#')) {
            urls.append(FileUrl::fromEncoded(url));
        }
    }
    return urls;
}

QByteArray otherPicture(const QMimeData& data) {
    for (const QString& format : data.formats()) {
        if (format.startsWith(QLatin1String("image/")) &&
            !format.startsWith(QLatin1String("image/svg"))) {
            const QByteArray bytes = data.data(format);
            if (!bytes.isEmpty()) {
                return bytes;
            }
        }
    }
    return {};
}

}  // namespace

bool isImageFile(const FileUrl& url) {
    const QMimeDatabase types;
    const QString name = displayText(url.lastPathComponent());
    return isImage(types.mimeTypeForFile(name, QMimeDatabase::MatchExtension)) ||
           isImage(types.mimeTypeForData(firstBytes(url)));
}

std::optional<FileUrl> draggedFile(const QMimeData& data) {
    const auto urls = listedUrls(data);
    return urls.isEmpty() ? std::nullopt : urls.first();
}

OfferedArtwork offeredArtwork(const QMimeData& data) {
    for (const char* format : {"image/png", "image/tiff"}) {
        const QByteArray bytes = data.data(QString::fromLatin1(format));
        if (!bytes.isEmpty()) {
            return bytes;
        }
    }
    if (const QByteArray bytes = otherPicture(data); !bytes.isEmpty()) {
        return bytes;
    }
    if (data.hasImage()) {
        const auto image = qvariant_cast<QImage>(data.imageData());
        if (!image.isNull()) {
            return image;
        }
    }
    for (const auto& url : listedUrls(data)) {
        if (url) {
            return *url;
        }
    }
    return {};
}

}  // namespace halvenor
