#include <array>
#include <cmath>

#include "platform/decode/StreamLayout.h"

// AIFF and AIFF-C (Apple's Audio Interchange File Format 1.3, and the 1991 draft of AIFF-C). What
// AIFF-C can carry beyond plain PCM is left to the general demuxer.

namespace halvenor {

namespace {

constexpr int maximalChunks = 10000;

/// An 80-bit extended float, of which a sample rate uses the integers; 0 for what is none.
int extendedToInt(const uint8_t* p) {
    const int exponent = static_cast<int>(be16(p) & 0x7fff) - 16383 - 63;
    const double value = std::ldexp(static_cast<double>(be64(p + 2)), exponent);
    return value >= 1 && value < 1e6 ? static_cast<int>(std::lround(value)) : 0;
}

struct Common {
    int channels = 0;
    int64_t frames = 0;
    int bits = 0;
    int sampleRate = 0;
    std::array<uint8_t, 4> compression = {'N', 'O', 'N', 'E'};
};

Common readCommon(ByteSource& bytes, int64_t offset, int64_t size, bool isCompressible) {
    std::array<uint8_t, 22> raw{};
    const size_t wanted = isCompressible && size >= 22 ? 22 : 18;
    if (size < 18 || !bytes.readFully(offset, std::span(raw).first(wanted))) {
        throwNotAudio(offset);
    }
    Common common;
    common.channels = static_cast<int>(be16(&raw[0]));
    common.frames = be32(&raw[2]);
    common.bits = static_cast<int>(be16(&raw[6]));
    common.sampleRate = extendedToInt(&raw[8]);
    if (wanted == 22) {
        std::copy_n(&raw[18], 4, common.compression.begin());
    }
    return common;
}

struct Pcm {
    std::string decoder;
    int sampleBytes = 0;
};

Pcm pcmOf(const Common& common) {
    const uint8_t* code = common.compression.data();
    const int bytes = (common.bits + 7) / 8;
    const bool isBig = isCode(code, "NONE") || isCode(code, "twos") || isCode(code, "in24") ||
                       isCode(code, "in32");
    const bool isLittle = isCode(code, "sowt");
    if ((isBig || isLittle) && bytes >= 1 && bytes <= 4) {
        if (bytes == 1) {
            return {"pcm_s8", 1};
        }
        return {"pcm_s" + std::to_string(8 * bytes) + (isBig ? "be" : "le"), bytes};
    }
    if (isCode(code, "fl32") || isCode(code, "FL32")) {
        return {"pcm_f32be", 4};
    }
    if (isCode(code, "fl64") || isCode(code, "FL64")) {
        return {"pcm_f64be", 8};
    }
    if (isCode(code, "alaw") || isCode(code, "ALAW")) {
        return {"pcm_alaw", 1};
    }
    if (isCode(code, "ulaw") || isCode(code, "ULAW")) {
        return {"pcm_mulaw", 1};
    }
    if (isCode(code, "raw ")) {
        return {"pcm_u8", 1};
    }
    return {};
}

}  // namespace

StreamLayout readAiff(ByteSource& bytes, int64_t begin) {
    std::array<uint8_t, 12> form{};
    bytes.readFully(begin, form);
    const bool isCompressible = isCode(&form[8], "AIFC");
    Common common;
    StreamLayout layout;
    int64_t at = begin + 12;
    for (int chunks = 0; chunks < maximalChunks; ++chunks) {
        std::array<uint8_t, 16> head{};
        if (!bytes.readFully(at, std::span(head).first(8))) {
            break;
        }
        const int64_t size = be32(&head[4]);
        const int64_t body = at + 8;
        if (isCode(head.data(), "COMM")) {
            common = readCommon(bytes, body, size, isCompressible);
        } else if (isCode(head.data(), "SSND") && bytes.readFully(at, head)) {
            layout.audioBegin = body + 8 + be32(&head[8]);
            layout.audioEnd = std::min(body + size, bytes.size());
        }
        at = body + size + (size & 1);
    }
    if (common.channels == 0 || layout.audioBegin == 0) {
        throwNotAudio(at);
    }
    layout.format = {common.sampleRate, common.channels};
    layout.frames = common.frames;
    const Pcm pcm = pcmOf(common);
    const int64_t dataSize = std::max<int64_t>(layout.audioEnd - layout.audioBegin, 0);
    if (!pcm.decoder.empty()) {
        layout.decoder = pcm.decoder;
        layout.bytesPerFrame = pcm.sampleBytes * common.channels;
        layout.frames = std::min(layout.frames, dataSize / layout.bytesPerFrame);
        layout.isExact = true;
        layout.dataRate = 8.0 * layout.bytesPerFrame * common.sampleRate;
    } else if (common.frames > 0) {
        layout.dataRate = 8.0 * double(dataSize) * common.sampleRate / double(common.frames);
    }
    return layout;
}

}  // namespace halvenor
