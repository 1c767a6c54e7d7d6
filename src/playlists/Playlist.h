#pragma once

#include <QList>
#include <QString>
#include <QUuid>

#include "base/FileUrl.h"

namespace halvenor {

/// A named list of files in order of play. Only places are kept, no tags. A plain value.
struct Playlist {
    /// Made at creation; the key of every operation.
    QUuid id;
    /// Need not be unique.
    QString name;
    QList<FileUrl> trackURLs;

    friend bool operator==(const Playlist&, const Playlist&) = default;
};

size_t qHash(const Playlist& playlist, size_t seed = 0) noexcept;

using Playlists = QList<Playlist>;

/// The bytes of playlists.json: one array of objects with id, name and trackURLs, in that order,
/// compact. docs/stores.md tells its form. Any thread.
QByteArray encodedPlaylists(const Playlists& playlists);
/// @throws Error (format) for anything that is not an array of playlists
Playlists decodedPlaylists(const QByteArray& json);

}  // namespace halvenor
