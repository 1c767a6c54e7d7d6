#pragma once

#include <QSize>
#include <QSizeF>
#include <QString>

#include <optional>

#include "model/TrackList.h"

// What the album header says of the tracks on show. Pure.
namespace halvenor {

/// The header's values, found in one walk over the tracks.
struct AlbumSummary {
    QString title;
    QString artist;
    QString years;              ///< a year, "Multi", or empty
    QString formatDescription;  ///< "FLAC", "MP3 320 kbps", "Multi", or empty
    double duration = 0;        ///< seconds, of all tracks together
    Artwork artwork;            ///< of the first track

    bool operator==(const AlbumSummary&) const = default;
};

/// @param folderName the open folder's, which stands in for an album title
AlbumSummary summarizeAlbum(const TrackList& tracks, const std::optional<QString>& folderName);

/// The labels that never show a bitrate.
bool isLosslessFormat(const QString& format);

/// "MP3 / 320 kbps", or "FLAC" alone.
QString trackFormatDescription(const Track& track);

/// "59:59", "1:00:00"; "0:00" for what is no number.
QString formatAlbumDuration(double seconds);

/// How large a cover is shown: its natural size (600 by 600 if that is empty), reduced, and never
/// enlarged, to 88 by 84 in the hundred of the screen (1056 by 672 without one).
QSizeF coverDisplaySize(const QSize& natural, const std::optional<QSize>& visibleScreen);

}  // namespace halvenor
