#include "platform/decode/StreamLayout.h"

#include "base/Error.h"

namespace halvenor {

namespace {

StreamLayout readContainer(ByteSource& bytes, const Sniffed& sniffed) {
    switch (sniffed.container) {
        case Container::mpegAudio:
            return readMpegAudio(bytes, sniffed.begin);
        case Container::adts:
            return readAdts(bytes, sniffed.begin);
        case Container::mp4:
            return readMp4(bytes, sniffed.begin);
        case Container::flac:
            return readFlac(bytes, sniffed.begin);
        case Container::wave:
            return readWave(bytes, sniffed.begin);
        case Container::aiff:
            return readAiff(bytes, sniffed.begin);
        case Container::ogg:
            return readOgg(bytes, sniffed.begin);
    }
    throwNotAudio(0);
}

}  // namespace

StreamLayout readStreamLayout(ByteSource& bytes) {
    const Sniffed sniffed = sniffContainer(bytes);
    StreamLayout layout = readContainer(bytes, sniffed);
    layout.container = sniffed.container;
    if (!layout.isFormatHidden && !isPlausible(layout.format)) {
        throwNotAudio(sniffed.begin);
    }
    layout.frames = std::max<int64_t>(layout.frames, 0);
    return layout;
}

bool isPlausible(const AudioFormat& format) {
    return format.sampleRate >= 1 && format.sampleRate <= 768000 && format.channels >= 1 &&
           format.channels <= 64;
}

}  // namespace halvenor
