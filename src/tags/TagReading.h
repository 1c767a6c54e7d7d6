#pragma once

#include <QByteArrayView>
#include <QStringView>

#include <cstdint>
#include <optional>

#include "model/Track.h"
#include "platform/media/MediaAsset.h"

/// Which entry of a file's tags fills which field of a Track, which of several wins, and what
/// stands in for what is missing. Any thread; only readTrack(url) touches the disk.
namespace halvenor {

/// The record of the file at `url`.
Track readTrack(const FileUrl& url);

/// The record that `asset`, opened from `url`, gives. The last item of a common key decides; of
/// the native keys (album artist, track number) the first one of the strongest kind of tag does.
Track readTrack(const MediaAsset& asset, const FileUrl& url);

struct AudioFormatDetails {
    std::optional<int64_t> bitrate;     ///< kilobits per second
    std::optional<int64_t> sampleRate;  ///< hertz

    bool operator==(const AudioFormatDetails&) const = default;
};

/// From the asset's first audio track; nothing when it has none. A rate that the track states is
/// cut down to whole kilobits. Without one, the mean over the whole file (tags and covers
/// included) is rounded.
/// @param fileSize bytes
AudioFormatDetails readAudioFormatDetails(const MediaAsset& asset, int64_t fileSize,
                                          double durationSeconds);

/// The number in "7", "7/12" or " 7 ": the first piece between slashes that is not empty.
std::optional<int64_t> parseTrackNumber(QStringView text);

/// The number in the bytes of an MP4 "trkn" atom: bytes 2 and 3, big-endian; 0 is none.
std::optional<int64_t> parseTrackNumber(QByteArrayView atomData);

/// The year that a date begins with: its first four characters, as a number.
std::optional<int64_t> parseYear(QStringView date);

/// Four characters as the number that MP4 files hold: the low 8 bits of each, first one highest.
/// Longer texts keep their last four. Empty: 0.
uint32_t fourCharCode(QStringView text);

}  // namespace halvenor
