#include <array>
#include <optional>

#include "platform/decode/StreamLayout.h"

// FLAC (RFC 9639). STREAMINFO tells all. A stream written into a pipe tells no length; the header
// of the last frame then tells where it stands.

namespace halvenor {

namespace {

constexpr int maximalBlocks = 10000;
constexpr int64_t tailBytes = 256 * 1024;

struct StreamInfoBlock {
    int sampleRate;
    int channels;
    int64_t frames;
    int minimalBlock;
    int maximalBlock;
};

StreamInfoBlock parseStreamInfo(const uint8_t* p) {
    return {static_cast<int>(be24(p + 10) >> 4), (p[12] >> 1 & 7) + 1,
            int64_t{p[13] & 15} << 32 | be32(p + 14), static_cast<int>(be16(p)),
            static_cast<int>(be16(p + 2))};
}

uint8_t crc8(std::span<const uint8_t> bytes) {
    unsigned crc = 0;
    for (const uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc << 1) ^ ((crc & 0x80) != 0 ? 0x107u : 0u);
        }
    }
    return static_cast<uint8_t>(crc);
}

/// The number in a frame's header, coded like UTF-8 in up to seven bytes.
std::optional<int64_t> codedNumber(std::span<const uint8_t> p, size_t& used) {
    const uint8_t lead = p[0];
    int extra = 0;
    while (extra < 7 && (lead >> (7 - extra) & 1) != 0) {
        ++extra;
    }
    if (extra == 1) {
        return std::nullopt;
    }
    extra = std::max(extra - 1, 0);
    int64_t value = extra == 0 ? lead : lead & ((1 << (6 - extra)) - 1);
    for (int i = 1; i <= extra; ++i) {
        if ((p[static_cast<size_t>(i)] & 0xc0) != 0x80) {
            return std::nullopt;
        }
        value = value << 6 | (p[static_cast<size_t>(i)] & 0x3f);
    }
    used = static_cast<size_t>(extra) + 1;
    return value;
}

/// The sample behind the frame whose header stands at `p` (16 bytes at least).
std::optional<int64_t> endOfFrame(std::span<const uint8_t> p, const StreamInfoBlock& info) {
    if (p[0] != 0xff || (p[1] & 0xfe) != 0xf8) {
        return std::nullopt;
    }
    size_t used = 0;
    const auto number = codedNumber(p.subspan(4), used);
    if (!number) {
        return std::nullopt;
    }
    size_t at = 4 + used;
    const int blockCode = p[2] >> 4;
    const int rateCode = p[2] & 15;
    int64_t block = 0;
    if (blockCode == 6) {
        block = p[at++] + 1;
    } else if (blockCode == 7) {
        block = be16(&p[at]) + 1;
        at += 2;
    } else if (blockCode == 1) {
        block = 192;
    } else if (blockCode >= 8) {
        block = int64_t{256} << (blockCode - 8);
    } else if (blockCode >= 2) {
        block = int64_t{576} << (blockCode - 2);
    }
    at += rateCode == 12 ? 1 : rateCode == 13 || rateCode == 14 ? 2 : 0;
    if (block == 0 || rateCode == 15 || crc8(p.first(at)) != p[at]) {
        return std::nullopt;
    }
    const bool isVariable = (p[1] & 1) != 0;
    return (isVariable ? *number : *number * info.maximalBlock) + block;
}

int64_t lengthFromLastFrame(ByteSource& bytes, int64_t begin, const StreamInfoBlock& info) {
    const int64_t from = std::max(begin, bytes.size() - tailBytes);
    std::vector<uint8_t> tail(static_cast<size_t>(std::max<int64_t>(bytes.size() - from, 0)) + 16);
    const auto got = static_cast<size_t>(bytes.read(from, std::span(tail).first(tail.size() - 16)));
    for (size_t at = got; at-- > 0;) {
        if (const auto end = endOfFrame(std::span<const uint8_t>(tail).subspan(at, 16), info)) {
            return *end;
        }
    }
    return 0;
}

}  // namespace

StreamLayout readFlac(ByteSource& bytes, int64_t begin) {
    StreamLayout layout;
    layout.decoder = "flac";
    std::optional<StreamInfoBlock> info;
    int64_t at = begin + 4;
    for (int blocks = 0; blocks < maximalBlocks; ++blocks) {
        std::array<uint8_t, 4> head;
        if (!bytes.readFully(at, head)) {
            break;
        }
        const int64_t size = be24(&head[1]);
        constexpr int streamInfo = 0;
        if ((head[0] & 0x7f) == streamInfo && size >= 34 && !info) {
            layout.extradata.resize(34);
            if (bytes.readFully(at + 4, layout.extradata)) {
                info = parseStreamInfo(layout.extradata.data());
            }
        }
        at += 4 + size;
        if ((head[0] & 0x80) != 0) {
            break;
        }
    }
    if (!info) {
        throwNotAudio(begin);
    }
    layout.format = {info->sampleRate, info->channels};
    layout.audioBegin = at;
    layout.audioEnd = endBeforeTags(bytes);
    layout.isExact = info->frames > 0;
    layout.frames = layout.isExact ? info->frames : lengthFromLastFrame(bytes, at, *info);
    if (layout.frames > 0) {
        layout.dataRate = 8.0 * double(std::max<int64_t>(layout.audioEnd - at, 0)) *
                          info->sampleRate / double(layout.frames);
    }
    return layout;
}

}  // namespace halvenor
