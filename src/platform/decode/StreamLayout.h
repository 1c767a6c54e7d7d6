#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/decode/AudioFormat.h"
#include "platform/decode/Container.h"

namespace halvenor {

/// All that the headers of a file tell about how to decode its first audio stream.
///
/// Positions count the frames that the decoder gives for the stream from its first packet on, at
/// format.sampleRate, before anything is cut: the file's frame 0 is the decoder's frame `origin`.
struct StreamLayout {
    Container container = Container::mpegAudio;
    /// Name of the decoder in libavcodec.
    std::string decoder;
    AudioFormat format;
    /// The decoder's private header (STREAMINFO, Vorbis headers, ...), where it needs one.
    std::vector<uint8_t> extradata;

    int64_t origin = 0;    ///< encoder delay: frames to throw away at the front
    int64_t frames = 0;    ///< the true length, origin and padding taken off
    bool isExact = false;  ///< whether frames is the very number, or an estimate
    double dataRate = 0;   ///< mean bits per second of the audio alone; 0 unknown

    int64_t audioBegin = 0;  ///< first byte of the first packet, where the container tells
    int64_t audioEnd = 0;    ///< the byte behind the audio
    int bytesPerFrame = 0;   ///< of plain PCM, all channels
    uint32_t oggSerial = 0;  ///< logical stream of an Ogg file
    int64_t oggBegin = 0;    ///< where the first page of audio (not headers) begins
    int64_t firstFrame = 0;  ///< position of the first packet; Ogg streams may begin anywhere
    /// Whether only a decoded packet tells the true format: AAC that may carry spectral band
    /// replication (twice the rate) or parametric stereo without saying so.
    bool isFormatHidden = false;
};

/// Reads the headers. @throws Error (format or unsupported)
StreamLayout readStreamLayout(ByteSource& bytes);

/// @name The parsers behind readStreamLayout(), one for each container
/// `begin` is where sniffContainer() saw it begin. They throw as readStreamLayout() does.
/// @{
StreamLayout readMpegAudio(ByteSource& bytes, int64_t begin);
StreamLayout readAdts(ByteSource& bytes, int64_t begin);
StreamLayout readWave(ByteSource& bytes, int64_t begin);
StreamLayout readAiff(ByteSource& bytes, int64_t begin);
StreamLayout readFlac(ByteSource& bytes, int64_t begin);
StreamLayout readOgg(ByteSource& bytes, int64_t begin);
StreamLayout readMp4(ByteSource& bytes, int64_t begin);
/// @}

/// Whether a format is one that can be: 1...64 channels, up to 768 kHz.
bool isPlausible(const AudioFormat& format);

}  // namespace halvenor
