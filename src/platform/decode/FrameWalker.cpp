#include "platform/decode/FrameWalker.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace halvenor {

namespace {

/// Headers that must stand in a row before the first of them is believed.
constexpr int believableHeaders = 3;
constexpr size_t maximalHeaderBytes = 8;
/// No frame of free format is longer (MPEG-2 layer II at 160 kbit/s and 16 kHz is half of this).
constexpr int64_t maximalFreeFormatBytes = 4608;

bool areAlike(const FrameHeader& a, const FrameHeader& b) {
    return a.kind == b.kind && a.sampleRate == b.sampleRate;
}

}  // namespace

FrameWalker::FrameWalker(ByteSource& bytes, const FrameSyntax& syntax, int64_t begin, int64_t end)
    : bytes_(bytes), syntax_(syntax), begin_(begin), end_(end), offset_(begin) {}

std::optional<FrameHeader> FrameWalker::headerAt(int64_t offset) {
    std::array<uint8_t, maximalHeaderBytes> raw;
    const auto size = static_cast<size_t>(syntax_.headerBytes);
    if (offset + syntax_.headerBytes > end_ ||
        !bytes_.readFully(offset, std::span(raw).first(size))) {
        return std::nullopt;
    }
    auto header = syntax_.parse(raw.data());
    if (header && header->bytes == 0) {
        if (freeFormatBytes_ == 0 && measurementsLeft_ > 0) {
            --measurementsLeft_;
            freeFormatBytes_ = measureFreeFormat(offset, *header).value_or(0);
        }
        if (freeFormatBytes_ == 0) {
            return std::nullopt;
        }
        header->bytes = static_cast<int>(freeFormatBytes_) + header->padding;
    }
    return header;
}

std::optional<int64_t> FrameWalker::measureFreeFormat(int64_t offset, const FrameHeader& header) {
    std::array<uint8_t, maximalFreeFormatBytes> raw;
    const int64_t got = bytes_.read(offset, raw);
    const auto isSame = [&](const uint8_t* p) {
        const auto other = syntax_.parse(p);
        return other && other->bytes == 0 && areAlike(*other, header);
    };
    for (int64_t at = syntax_.headerBytes; at + syntax_.headerBytes <= got; ++at) {
        if (!isSame(&raw[static_cast<size_t>(at)])) {
            continue;
        }
        const int64_t size = at - header.padding;
        const int nextPadding = syntax_.parse(&raw[static_cast<size_t>(at)])->padding;
        std::array<uint8_t, maximalHeaderBytes> third;
        const auto headerBytes = static_cast<size_t>(syntax_.headerBytes);
        if (size > 0 &&
            bytes_.readFully(offset + at + size + nextPadding,
                             std::span(third).first(headerBytes)) &&
            isSame(third.data())) {
            return size;
        }
    }
    return std::nullopt;
}

bool FrameWalker::isBelievable(int64_t offset, const FrameHeader& header) {
    if (offset + header.bytes > end_) {
        return false;
    }
    int64_t at = offset + header.bytes;
    for (int seen = 1; seen < believableHeaders; ++seen) {
        if (end_ - at < syntax_.headerBytes) {
            // The chain runs exactly to the end: enough where the audio has to begin, too little
            // in the middle of junk.
            return at == end_ && (offset == begin_ || seen > 1);
        }
        const auto next = headerAt(at);
        if (!next || !areAlike(*next, header)) {
            return syntax_.isCertain(bytes_, offset);
        }
        at += next->bytes;
    }
    return true;
}

std::optional<FrameWalker::Frame> FrameWalker::search(int64_t from, int64_t searchEnd) {
    std::array<uint8_t, 4096> chunk;
    while (from < searchEnd) {
        const auto wanted = static_cast<size_t>(
            std::min<int64_t>(static_cast<int64_t>(chunk.size()), searchEnd - from));
        const int64_t got = bytes_.read(from, std::span(chunk).first(wanted));
        if (got <= 0) {
            break;
        }
        const uint8_t* const stop = chunk.data() + got;
        for (const uint8_t* p = chunk.data(); p < stop; ++p) {
            p = static_cast<const uint8_t*>(std::memchr(p, 0xff, static_cast<size_t>(stop - p)));
            if (p == nullptr) {
                break;
            }
            if (p + 1 < stop && (p[1] & 0xe0) != 0xe0) {
                continue;
            }
            const int64_t offset = from + (p - chunk.data());
            const int64_t freeFormatBefore = freeFormatBytes_;
            const auto header = headerAt(offset);
            if (header && isBelievable(offset, *header)) {
                return Frame{offset, *header};
            }
            freeFormatBytes_ = freeFormatBefore;
        }
        from += got;
    }
    return std::nullopt;
}

std::optional<int64_t> FrameWalker::findStart(int64_t searchEnd) {
    const auto frame = search(offset_, searchEnd);
    if (!frame) {
        return std::nullopt;
    }
    moveTo(frame->offset);
    return frame->offset;
}

void FrameWalker::moveTo(int64_t offset) {
    offset_ = offset;
    const auto header = headerAt(offset);
    isInSync_ = header.has_value();
    kind_ = header ? header->kind : 0;
}

std::optional<FrameWalker::Frame> FrameWalker::next() {
    const auto header = headerAt(offset_);
    std::optional<Frame> frame;
    const bool isPlainSuccessor = header && isInSync_ && header->kind == kind_;
    if (header && (isPlainSuccessor || isBelievable(offset_, *header)) &&
        offset_ + header->bytes <= end_) {
        frame = Frame{offset_, *header};
    } else if (!header || offset_ + header->bytes <= end_ || !isInSync_) {
        frame = search(offset_ + 1, end_);
    }
    if (!frame) {
        offset_ = end_;
        return std::nullopt;
    }
    offset_ = frame->offset + frame->header.bytes;
    kind_ = frame->header.kind;
    isInSync_ = true;
    return frame;
}

}  // namespace halvenor
