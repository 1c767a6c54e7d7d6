#include "platform/decode/Adts.h"

#include <array>

#include "platform/decode/StreamLayout.h"

// A bare row of AAC frames tells neither its length nor the encoder's delay. The frames are
// counted; nothing can be cut off.

namespace halvenor {

namespace {

constexpr std::array<int, 13> rates = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                       22050, 16000, 12000, 11025, 8000,  7350};

std::optional<FrameHeader> parseHeader(const uint8_t* p) {
    const size_t rateIndex = p[2] >> 2 & 15;
    if (p[0] != 0xff || (p[1] & 0xf6) != 0xf0 || rateIndex >= rates.size()) {
        return std::nullopt;
    }
    FrameHeader header;
    header.bytes = (p[3] & 3) << 11 | p[4] << 3 | p[5] >> 5;
    if (header.bytes < 9) {
        return std::nullopt;
    }
    const int configuration = (p[2] & 1) << 2 | p[3] >> 6;
    header.channels = configuration == 7 ? 8 : configuration;
    header.sampleRate = rates[rateIndex];
    header.samples = 1024 * ((p[6] & 3) + 1);
    header.kind = p[1] & 8u;
    return header;
}

bool isCertain(ByteSource&, int64_t) {
    return false;
}

}  // namespace

const FrameSyntax adtsSyntax = {7, parseHeader, isCertain};

StreamLayout readAdts(ByteSource& bytes, int64_t begin) {
    StreamLayout layout;
    layout.decoder = "aac";
    layout.audioEnd = endBeforeTags(bytes);
    FrameWalker walker(bytes, adtsSyntax, begin, layout.audioEnd);
    layout.isExact = true;
    int64_t byteCount = 0;
    double foreign = 0;
    while (const auto frame = walker.next()) {
        const AudioFormat format = {frame->header.sampleRate, frame->header.channels};
        if (layout.format.sampleRate == 0) {
            layout.format = format;
            layout.audioBegin = frame->offset;
        }
        byteCount += frame->header.bytes;
        layout.isExact = layout.isExact && format == layout.format;
        if (format.sampleRate == layout.format.sampleRate) {
            layout.frames += frame->header.samples;
        } else {
            foreign += double(frame->header.samples) * layout.format.sampleRate / format.sampleRate;
        }
    }
    if (layout.format.sampleRate == 0) {
        throwNotAudio(begin);
    }
    layout.frames += static_cast<int64_t>(foreign);
    layout.dataRate = 8.0 * double(byteCount) * layout.format.sampleRate / double(layout.frames);
    // Band replication doubles rates up to this one, and parametric stereo makes two channels of
    // one; a missing channel configuration is told inside the frame.
    layout.isFormatHidden = layout.format.sampleRate <= 24000 || layout.format.channels == 0;
    return layout;
}

}  // namespace halvenor
