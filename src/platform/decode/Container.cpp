#include "platform/decode/Container.h"

#include <array>
#include <cstdlib>
#include <cstring>

#include "base/Error.h"
#include "platform/decode/Adts.h"
#include "platform/decode/FrameWalker.h"
#include "platform/decode/MpegAudio.h"

namespace halvenor {

namespace {

/// How far behind the tags the first bare frame is looked for.
constexpr int64_t frameSearchBytes = 256 * 1024;

int64_t syncSafe(const uint8_t* p) {
    return int64_t{p[0] & 0x7f} << 21 | (p[1] & 0x7f) << 14 | (p[2] & 0x7f) << 7 | (p[3] & 0x7f);
}

/// Bytes of the ID3v2 tag at `offset`, 0 when there is none.
int64_t id3v2Bytes(ByteSource& bytes, int64_t offset) {
    std::array<uint8_t, 10> head;
    if (!bytes.readFully(offset, head) || std::memcmp(head.data(), "ID3", 3) != 0 ||
        head[3] == 0xff || head[4] == 0xff) {
        return 0;
    }
    const bool hasFooter = (head[5] & 0x10) != 0;
    return 10 + syncSafe(&head[6]) + (hasFooter ? 10 : 0);
}

int64_t skipLeadingTags(ByteSource& bytes) {
    int64_t begin = 0;
    for (int tags = 0; tags < 8; ++tags) {
        const int64_t size = id3v2Bytes(bytes, begin);
        if (size == 0) {
            break;
        }
        begin += size;
    }
    return begin;
}

bool looksLikeMp4(std::span<const uint8_t> head) {
    if (head.size() < 8) {
        return false;
    }
    const uint8_t* type = head.data() + 4;
    if (isCode(type, "ftyp")) {
        return true;
    }
    // Old files may begin with another atom of the outermost level.
    const bool isAtom = isCode(type, "moov") || isCode(type, "mdat") || isCode(type, "wide") ||
                        isCode(type, "free") || isCode(type, "skip");
    return isAtom && (be32(head.data()) == 1 || be32(head.data()) >= 8);
}

std::optional<Container> bySignature(std::span<const uint8_t> head) {
    if (head.size() < 4) {
        return std::nullopt;
    }
    const uint8_t* p = head.data();
    const bool isLong = head.size() >= 12;
    if (isCode(p, "fLaC")) {
        return Container::flac;
    }
    if (isCode(p, "OggS")) {
        return Container::ogg;
    }
    const bool isRiff = isCode(p, "RIFF") || isCode(p, "RF64") || isCode(p, "BW64");
    if (isLong && isRiff && isCode(p + 8, "WAVE")) {
        return Container::wave;
    }
    if (isLong && isCode(p, "FORM") && (isCode(p + 8, "AIFF") || isCode(p + 8, "AIFC"))) {
        return Container::aiff;
    }
    if (looksLikeMp4(head)) {
        return Container::mp4;
    }
    return std::nullopt;
}

/// Bytes of the tag that ends at `end`, 0 when there is none.
int64_t trailingTagBytes(ByteSource& bytes, int64_t end) {
    std::array<uint8_t, 32> foot;
    if (bytes.readFully(end - 128, std::span(foot).first(3)) &&
        std::memcmp(foot.data(), "TAG", 3) == 0) {
        return 128;
    }
    if (bytes.readFully(end - 32, foot) && std::memcmp(foot.data(), "APETAGEX", 8) == 0) {
        const bool hasHeader = (le32(&foot[20]) & 0x80000000u) != 0;
        return int64_t{le32(&foot[12])} + (hasHeader ? 32 : 0);
    }
    if (bytes.readFully(end - 15, std::span(foot).first(15)) &&
        std::memcmp(&foot[6], "LYRICS200", 9) == 0) {
        int64_t size = 15;
        int64_t digits = 0;
        for (int i = 0; i < 6; ++i) {
            digits = digits * 10 + (foot[static_cast<size_t>(i)] - '0');
        }
        size += std::max<int64_t>(digits, 0);
        return size;
    }
    if (bytes.readFully(end - 10, std::span(foot).first(10)) &&
        std::memcmp(foot.data(), "3DI", 3) == 0) {
        return 20 + syncSafe(&foot[6]);
    }
    return 0;
}

}  // namespace

Sniffed sniffContainer(ByteSource& bytes) {
    const int64_t begin = skipLeadingTags(bytes);
    std::array<uint8_t, 12> head{};
    const int64_t got = bytes.read(begin, head);
    if (const auto container = bySignature(std::span(head).first(static_cast<size_t>(got)))) {
        return {*container, begin};
    }
    const int64_t end = endBeforeTags(bytes);
    const int64_t searchEnd = std::min(end, begin + frameSearchBytes);
    FrameWalker mpeg(bytes, mpegAudioSyntax, begin, end);
    FrameWalker adts(bytes, adtsSyntax, begin, end);
    const auto mpegBegin = mpeg.findStart(searchEnd);
    const auto adtsBegin = adts.findStart(mpegBegin ? *mpegBegin : searchEnd);
    if (adtsBegin) {
        return {Container::adts, *adtsBegin};
    }
    if (mpegBegin) {
        return {Container::mpegAudio, *mpegBegin};
    }
    throwNotAudio(begin);
}

int64_t endBeforeTags(ByteSource& bytes) {
    int64_t end = bytes.size();
    for (int tags = 0; tags < 8; ++tags) {
        const int64_t size = trailingTagBytes(bytes, end);
        if (size == 0 || size > end) {
            break;
        }
        end -= size;
    }
    return end;
}

void throwNotAudio(int64_t offset) {
    throw Error(ErrorKind::format,
                QStringLiteral("The file is damaged, or is not an audio file of a known format."),
                offset);
}

}  // namespace halvenor
