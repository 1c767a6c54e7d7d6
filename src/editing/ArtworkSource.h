#pragma once

#include <QByteArray>
#include <QImage>

#include <optional>
#include <variant>

#include "base/FileUrl.h"

class QMimeData;

namespace halvenor {

/// Whether a file is of a kind that holds an image: by its name, or else by its first bytes. Its
/// bytes may still turn out to be none. Any thread; touches the disk.
bool isImageFile(const FileUrl& url);

/// The file that is dragged: what comes first must be one. Main thread.
std::optional<FileUrl> draggedFile(const QMimeData& data);

/// What a clipboard has for a cover: nothing, the bytes of an image, an image that this process or
/// its toolkit has decoded already, or a file.
using OfferedArtwork = std::variant<std::monostate, QByteArray, QImage, FileUrl>;

/// The first of: PNG bytes, TIFF bytes, those of any other picture, a decoded image, the first
/// file. Main thread: it may wait for the program that owns the clipboard.
OfferedArtwork offeredArtwork(const QMimeData& data);

}  // namespace halvenor
