#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

#include "base/FileUrl.h"

namespace halvenor::bench {

/// What the library shows of a track, read in the plainest way that TagLib offers.
struct BareTrack {
    QString title, artist, album, albumArtist, genre;
    unsigned year = 0;
    unsigned track = 0;
    int milliseconds = 0;
    int bitrate = 0;
    int sampleRate = 0;
    qsizetype coverBytes = 0;
};

/// The least that any reader does: each file through TagLib, one after the other, the cover looked
/// at and dropped.
std::vector<BareTrack> readBare(const QList<FileUrl>& files);

}  // namespace halvenor::bench
