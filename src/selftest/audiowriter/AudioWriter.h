#pragma once

#include <QByteArray>
#include <QString>

#include <span>

#include "base/FileUrl.h"

namespace halvenor {

/// Kinds of audio files that writeAudioFile() makes.
enum class AudioFileType {
    wave16,     ///< WAVE, 16-bit integers
    waveFloat,  ///< WAVE, 32-bit floats
    aiff16,     ///< AIFF, 16-bit integers
    flac16,
    flac24,
    alac16,  ///< Apple Lossless in MP4
    aacMp4,  ///< AAC-LC in MP4, with an edit list
    aacAdts,
    mp3,
    vorbis,  ///< in Ogg
    opus,    ///< in Ogg; takes 48, 24, 16, 12 and 8 kHz alone
};

/// What may be written beside the samples. Empty strings write nothing.
struct AudioFileTags {
    QString title;
    QString artist;
    QString album;
    int track = 0;     ///< 0: none
    QByteArray cover;  ///< JPEG or PNG bytes; in MP3, FLAC and MP4 alone, elsewhere left out
};

/// Encodes samples into a new file, in this process. Integer types hold `sample × 2^(bits-1)`
/// rounded, so samples made of such integers survive exactly. Any thread.
/// @param samples interleaved, full scale ±1; a whole number of frames
/// @throws Error: io when the file can't be written, unsupported when an encoder is missing
void writeAudioFile(const FileUrl& url, AudioFileType type, std::span<const float> samples,
                    int sampleRate, int channels, const AudioFileTags& tags = {});

}  // namespace halvenor
