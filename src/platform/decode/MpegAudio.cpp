#include "platform/decode/MpegAudio.h"

#include <array>
#include <cstring>

#include "platform/decode/StreamLayout.h"

// An MP3 file is a row of frames and nothing else. Encoders that mean well put a first frame that
// decodes to silence and carries a table of the stream: the "Xing" or "Info" tag (frames, bytes,
// and behind them LAME's encoder delay and padding) or Fraunhofer's "VBRI" tag. Without such a tag,
// or where it can't be true for the bytes that are there (a file cut short, or two files joined),
// the frames are counted.

namespace halvenor {

namespace {

/// What every decoder adds to the encoder's delay: 528 samples of the filter bank, and one.
constexpr int64_t decoderDelay = 529;

constexpr std::array<std::array<uint16_t, 16>, 5> kiloBits = {{
    {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448, 0},  // 1, layer I
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384, 0},     // 1, layer II
    {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 0},      // 1, layer III
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256, 0},     // 2, layer I
    {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0},          // 2, layers II, III
}};

std::optional<FrameHeader> parseHeader(const uint8_t* p) {
    const int version = p[1] >> 3 & 3;  // 0: 2.5, 2: 2, 3: 1
    const int layer = 4 - (p[1] >> 1 & 3);
    const int bitRateIndex = p[2] >> 4;
    const int rateIndex = p[2] >> 2 & 3;
    const bool isHeader = p[0] == 0xff && (p[1] & 0xe0) == 0xe0 && version != 1 && layer != 4 &&
                          bitRateIndex != 15 && rateIndex != 3 && (p[3] & 3) != 2;
    if (!isHeader) {
        return std::nullopt;
    }
    constexpr std::array<int, 3> rates = {44100, 48000, 32000};
    const bool isFirst = version == 3;
    const int row = isFirst ? layer - 1 : (layer == 1 ? 3 : 4);
    FrameHeader header;
    header.sampleRate = rates[static_cast<size_t>(rateIndex)] >> (isFirst        ? 0
                                                                  : version == 2 ? 1
                                                                                 : 2);
    header.channels = (p[3] >> 6) == 3 ? 1 : 2;
    header.bitRate = 1000 * kiloBits[static_cast<size_t>(row)][static_cast<size_t>(bitRateIndex)];
    header.kind = static_cast<uint32_t>(version << 2 | layer);
    header.samples = layer == 1 ? 384 : (layer == 3 && !isFirst ? 576 : 1152);
    const int slot = layer == 1 ? 4 : 1;
    header.padding = (p[2] >> 1 & 1) * slot;
    if (header.bitRate > 0) {
        header.bytes =
            header.samples / 8 / slot * header.bitRate / header.sampleRate * slot + header.padding;
    }
    return header;
}

/// What the first frame tells of the whole stream.
struct StreamTag {
    bool isConstant = false;        ///< one bit rate throughout
    std::optional<int64_t> frames;  ///< without the tag's own frame
    std::optional<int64_t> bytes;   ///< with the tag's own frame
    std::optional<int64_t> delay;   ///< encoder's, in frames
    int64_t padding = 0;
};

void readLameDelays(std::span<const uint8_t> tag, StreamTag& result) {
    if (tag.size() < 24) {
        return;
    }
    // Others copy the layout and leave these fields to chance.
    const auto isFrom = [&](const char* name) { return std::memcmp(tag.data(), name, 4) == 0; };
    if (isFrom("LAME") || isFrom("Lavf") || isFrom("Lavc")) {
        const uint32_t both = be24(&tag[21]);
        result.delay = both >> 12;
        result.padding = both & 0xfff;
    }
}

StreamTag readXing(std::span<const uint8_t> tag) {
    StreamTag result;
    if (tag.size() < 8) {
        return result;
    }
    result.isConstant = isCode(tag.data(), "Info");
    const uint32_t flags = be32(&tag[4]);
    size_t at = 8;
    const auto number = [&](uint32_t flag, size_t size) -> std::optional<int64_t> {
        if ((flags & flag) == 0 || at + size > tag.size()) {
            return std::nullopt;
        }
        const int64_t value = be32(&tag[at]);
        at += size;
        return value;
    };
    result.frames = number(1, 4);
    result.bytes = number(2, 4);
    number(4, 100);
    number(8, 4);
    readLameDelays(tag.subspan(std::min(at, tag.size())), result);
    return result;
}

std::optional<StreamTag> readStreamTag(ByteSource& bytes, int64_t offset,
                                       const FrameHeader& header) {
    if (mpegLayer(header) != 3) {
        return std::nullopt;
    }
    std::array<uint8_t, 256> raw;
    const int64_t size = std::min<int64_t>(header.bytes, static_cast<int64_t>(raw.size()));
    const auto got = static_cast<size_t>(
        bytes.read(offset, std::span(raw).first(static_cast<size_t>(std::max<int64_t>(size, 0)))));
    const bool isFirst = (header.kind >> 2) == 3;
    const size_t sideInfo =
        isFirst ? (header.channels == 1 ? 17 : 32) : (header.channels == 1 ? 9 : 17);
    // Behind the side information; a checksum, if any, moves it in some encoders' files.
    for (const size_t at : {4 + sideInfo, 6 + sideInfo}) {
        if (at + 4 <= got && (isCode(&raw[at], "Xing") || isCode(&raw[at], "Info"))) {
            return readXing(std::span<const uint8_t>(raw).subspan(at, got - at));
        }
    }
    if (got >= 40 && isCode(&raw[36], "VBRI")) {
        return StreamTag{};  // Its counts are not used: encoders disagree on what they include.
    }
    return std::nullopt;
}

bool isCertain(ByteSource& bytes, int64_t offset) {
    std::array<uint8_t, 4> raw;
    if (!bytes.readFully(offset, raw)) {
        return false;
    }
    const auto header = parseHeader(raw.data());
    return header && readStreamTag(bytes, offset, *header).has_value();
}

/// What walking over all frames gives.
struct Count {
    int64_t frames = 0;
    int64_t samples = 0;  ///< at the rate of the first frame
    int64_t bytes = 0;
    bool isUniform = true;   ///< one rate and one number of channels throughout
    bool isConstant = true;  ///< one bit rate throughout
};

Count countFrames(FrameWalker& walker, const FrameHeader& first) {
    Count count;
    double foreign = 0;
    while (const auto frame = walker.next()) {
        const FrameHeader& header = frame->header;
        ++count.frames;
        count.bytes += header.bytes;
        count.isConstant = count.isConstant && header.bitRate == first.bitRate;
        count.isUniform = count.isUniform && header.channels == first.channels &&
                          header.sampleRate == first.sampleRate;
        if (header.sampleRate == first.sampleRate) {
            count.samples += header.samples;
        } else {
            foreign += double(header.samples) * first.sampleRate / header.sampleRate;
        }
    }
    count.samples += static_cast<int64_t>(foreign);
    return count;
}

/// Whether the tag's number of bytes is that of the bytes there. Encoders differ by a frame.
bool isConsistent(const StreamTag& tag, int64_t bytes) {
    constexpr int64_t slack = 4096;
    return tag.frames && tag.bytes && *tag.frames > 0 && std::abs(*tag.bytes - bytes) <= slack;
}

}  // namespace

const FrameSyntax mpegAudioSyntax = {4, parseHeader, isCertain};

StreamLayout readMpegAudio(ByteSource& bytes, int64_t begin) {
    StreamLayout layout;
    layout.audioEnd = endBeforeTags(bytes);
    FrameWalker walker(bytes, mpegAudioSyntax, begin, layout.audioEnd);
    auto first = walker.next();
    if (!first) {
        throwNotAudio(begin);
    }
    const auto tag = readStreamTag(bytes, first->offset, first->header);
    const int64_t tagBegin = first->offset;
    const int64_t tagBytes = tag ? first->header.bytes : 0;
    if (tag) {
        // The tag's frame may have another bit rate than the audio, never another format.
        if (const auto second = walker.next()) {
            first = second;
        } else {
            first->offset += first->header.bytes;
        }
    }
    layout.audioBegin = first->offset;
    layout.format = {first->header.sampleRate, first->header.channels};
    layout.decoder = mpegLayer(first->header) == 1   ? "mp1float"
                     : mpegLayer(first->header) == 2 ? "mp2float"
                                                     : "mp3float";
    const auto rateOf = [&](int64_t byteCount, int64_t samples) {
        return samples > 0 ? 8.0 * double(byteCount) * layout.format.sampleRate / double(samples)
                           : 0.0;
    };
    const int samplesPerFrame = first->header.samples;
    int64_t samples = 0;
    bool isWhole = true;
    if (tag && isConsistent(*tag, layout.audioEnd - tagBegin)) {
        samples = *tag->frames * samplesPerFrame;
        layout.isExact = true;
        layout.dataRate = tag->isConstant && first->header.bitRate > 0
                              ? first->header.bitRate
                              : rateOf(*tag->bytes - tagBytes, samples);
    } else {
        walker.moveTo(layout.audioBegin);
        const Count count = countFrames(walker, first->header);
        samples = count.samples;
        isWhole = tag && tag->frames && *tag->frames == count.frames;
        layout.isExact = count.isUniform;
        layout.dataRate = count.isConstant && first->header.bitRate > 0
                              ? first->header.bitRate
                              : rateOf(count.bytes, samples);
    }
    if (tag && tag->delay) {
        layout.origin = *tag->delay + decoderDelay;
    }
    const int64_t tail = tag && tag->delay && isWhole ? tag->padding - decoderDelay : 0;
    layout.frames = samples - layout.origin - std::max<int64_t>(tail, 0);
    return layout;
}

}  // namespace halvenor
