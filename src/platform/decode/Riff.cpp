#include <array>
#include <optional>

#include "base/Error.h"
#include "platform/decode/StreamLayout.h"

// WAVE files (RIFF, and RF64/BW64 with sizes beyond 4 GiB in their "ds64" chunk). Streams of plain
// PCM are read from where they lie; what else the format can carry (ADPCM, MP3) is left to the
// general demuxer and its length is an estimate.

namespace halvenor {

namespace {

constexpr int maximalChunks = 10000;

struct WaveFormat {
    int tag = 0;
    int channels = 0;
    int sampleRate = 0;
    int bytesPerSecond = 0;
    int blockBytes = 0;
    int bits = 0;
};

WaveFormat readFormat(ByteSource& bytes, int64_t offset, int64_t size) {
    std::array<uint8_t, 40> raw{};
    if (size < 16 || !bytes.readFully(offset, std::span(raw).first(16))) {
        throwNotAudio(offset);
    }
    WaveFormat format;
    format.tag = static_cast<int>(le16(&raw[0]));
    format.channels = static_cast<int>(le16(&raw[2]));
    format.sampleRate = static_cast<int>(std::min<uint32_t>(le32(&raw[4]), 1u << 30));
    format.bytesPerSecond = static_cast<int>(std::min<uint32_t>(le32(&raw[8]), 1u << 30));
    format.blockBytes = static_cast<int>(le16(&raw[12]));
    format.bits = static_cast<int>(le16(&raw[14]));
    constexpr int extensible = 0xfffe;
    if (format.tag == extensible && size >= 40 && bytes.readFully(offset, raw)) {
        format.tag = static_cast<int>(le16(&raw[24]));
    }
    return format;
}

/// The decoder of plain PCM in samples of `bytes` bytes; empty when the tag means something else.
std::string pcmDecoder(int tag, int bytes) {
    constexpr int integer = 1, floating = 3, aLaw = 6, muLaw = 7;
    if (tag == integer && bytes == 1) {
        return "pcm_u8";
    }
    if (tag == integer && bytes >= 2 && bytes <= 4) {
        return "pcm_s" + std::to_string(8 * bytes) + "le";
    }
    if (tag == floating && (bytes == 4 || bytes == 8)) {
        return "pcm_f" + std::to_string(8 * bytes) + "le";
    }
    if (bytes == 1 && (tag == aLaw || tag == muLaw)) {
        return tag == aLaw ? "pcm_alaw" : "pcm_mulaw";
    }
    return {};
}

/// For streams that are not plain PCM: the writer's own count of frames, else what the mean rate
/// makes of the size.
void estimateLength(const WaveFormat& format, int64_t dataSize, int64_t factFrames,
                    StreamLayout& layout) {
    if (factFrames > 0) {
        layout.frames = factFrames;
        layout.dataRate = 8.0 * double(dataSize) * format.sampleRate / double(factFrames);
    } else if (format.bytesPerSecond > 0) {
        layout.frames =
            static_cast<int64_t>(double(dataSize) * format.sampleRate / format.bytesPerSecond);
        layout.dataRate = 8.0 * format.bytesPerSecond;
    }
}

}  // namespace

StreamLayout readWave(ByteSource& bytes, int64_t begin) {
    std::optional<WaveFormat> format;
    std::optional<int64_t> longDataSize;
    int64_t factFrames = 0;
    int64_t at = begin + 12;
    for (int chunks = 0; chunks < maximalChunks; ++chunks) {
        std::array<uint8_t, 24> head;
        if (!bytes.readFully(at, std::span(head).first(8))) {
            break;
        }
        const int64_t size = le32(&head[4]);
        const int64_t body = at + 8;
        if (isCode(head.data(), "fmt ")) {
            format = readFormat(bytes, body, size);
        } else if (isCode(head.data(), "ds64") && bytes.readFully(at, head)) {
            longDataSize = static_cast<int64_t>(le64(&head[16]) & INT64_MAX);
        } else if (isCode(head.data(), "fact") && bytes.readFully(at, std::span(head).first(12))) {
            factFrames = le32(&head[8]);
        } else if (isCode(head.data(), "data") && format) {
            StreamLayout layout;
            layout.audioBegin = body;
            constexpr int64_t unknown = 0xffffffff;
            int64_t dataSize = size == unknown && longDataSize ? *longDataSize : size;
            // Programs that write into a pipe never come back to fill in the size.
            if (dataSize == unknown || dataSize == 0 || dataSize > bytes.size() - body) {
                dataSize = bytes.size() - body;
            }
            layout.audioEnd = body + dataSize;
            layout.format = {format->sampleRate, format->channels};
            const int sampleBytes =
                format->channels > 0 ? format->blockBytes / format->channels : 0;
            layout.decoder = pcmDecoder(format->tag, sampleBytes);
            if (!layout.decoder.empty()) {
                layout.bytesPerFrame = sampleBytes * format->channels;
                layout.frames = dataSize / layout.bytesPerFrame;
                layout.isExact = true;
                layout.dataRate = 8.0 * layout.bytesPerFrame * format->sampleRate;
            } else {
                estimateLength(*format, dataSize, factFrames, layout);
            }
            return layout;
        }
        at = body + size + (size & 1);
    }
    throwNotAudio(at);
}

}  // namespace halvenor
