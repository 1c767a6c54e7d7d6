#include "platform/decode/Ogg.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace halvenor {

namespace {

constexpr int64_t headerBytes = 27;
constexpr int64_t maximalPageBytes = 27 + 255 + 255 * 255;
/// How far back the last page is looked for; streams beside ours may fill that much.
constexpr int64_t maximalLookBack = 4 << 20;

std::optional<OggPage> parsePage(ByteSource& bytes, int64_t offset) {
    std::array<uint8_t, headerBytes> head;
    if (!bytes.readFully(offset, head) || !isCode(head.data(), "OggS") || head[4] != 0) {
        return std::nullopt;
    }
    OggPage page;
    page.offset = offset;
    page.isContinued = (head[5] & 1) != 0;
    page.isFirst = (head[5] & 2) != 0;
    page.isLast = (head[5] & 4) != 0;
    page.granule = static_cast<int64_t>(le64(&head[6]));
    page.serial = le32(&head[14]);
    page.sequence = le32(&head[18]);
    page.segments = head[26];
    page.bodyOffset = offset + headerBytes + page.segments;
    if (!bytes.readFully(offset + headerBytes,
                         std::span(page.lacing).first(static_cast<size_t>(page.segments)))) {
        return std::nullopt;
    }
    for (int i = 0; i < page.segments; ++i) {
        page.bodyBytes += page.lacing[static_cast<size_t>(i)];
    }
    return page.end() <= bytes.size() ? std::optional(page) : std::nullopt;
}

const std::array<uint32_t, 256>& crcTable() {
    static const auto table = [] {
        std::array<uint32_t, 256> made{};
        for (uint32_t i = 0; i < 256; ++i) {
            uint32_t crc = i << 24;
            for (int bit = 0; bit < 8; ++bit) {
                crc = (crc << 1) ^ ((crc & 0x80000000u) != 0 ? 0x04c11db7u : 0u);
            }
            made[i] = crc;
        }
        return made;
    }();
    return table;
}

bool isIntact(ByteSource& bytes, const OggPage& page) {
    std::vector<uint8_t> raw(static_cast<size_t>(page.end() - page.offset));
    if (!bytes.readFully(page.offset, raw)) {
        return false;
    }
    const uint32_t told = le32(&raw[22]);
    std::memset(&raw[22], 0, 4);
    uint32_t crc = 0;
    for (const uint8_t byte : raw) {
        crc = (crc << 8) ^ crcTable()[(crc >> 24) ^ byte];
    }
    return crc == told;
}

}  // namespace

int OggPage::packetsEnding() const {
    return static_cast<int>(std::count_if(lacing.begin(), lacing.begin() + segments,
                                          [](uint8_t length) { return length < 255; }));
}

std::optional<OggPage> findOggPage(ByteSource& bytes, int64_t offset, int64_t limit) {
    std::array<uint8_t, 4096> chunk;
    while (offset < limit) {
        if (const auto page = parsePage(bytes, offset)) {
            return page;
        }
        ++offset;
        const int64_t got = bytes.read(offset, chunk);
        if (got < 4) {
            break;
        }
        const uint8_t* const hit =
            static_cast<const uint8_t*>(memmem(chunk.data(), static_cast<size_t>(got), "OggS", 4));
        // The letters may lie across two chunks.
        offset += hit != nullptr ? hit - chunk.data() : got - 3;
    }
    return std::nullopt;
}

std::optional<OggPage> findLastOggPage(ByteSource& bytes, int64_t from, int64_t limit,
                                       std::optional<uint32_t> serial) {
    int64_t stop = limit;
    while (stop > from && stop > limit - maximalLookBack) {
        const int64_t start = std::max(from, stop - maximalPageBytes);
        std::optional<OggPage> last;
        for (auto page = findOggPage(bytes, start, stop); page;
             page = findOggPage(bytes, page->end(), stop)) {
            if (page->granule != -1 && (!serial || page->serial == *serial)) {
                last = page;
            }
        }
        if (last) {
            return last;
        }
        stop = start;
    }
    return std::nullopt;
}

OggPacketReader::OggPacketReader(ByteSource& bytes, uint32_t serial, int64_t offset)
    : bytes_(bytes), serial_(serial), nextPage_(offset) {}

void OggPacketReader::moveTo(int64_t offset) {
    nextPage_ = offset;
    segment_ = 0;
    page_ = {};
    hasPartial_ = false;
    nextSequence_.reset();
    isAfterLoss_ = false;
}

bool OggPacketReader::loadPage() {
    while (true) {
        const auto page = findOggPage(bytes_, nextPage_, bytes_.size());
        if (!page) {
            return false;
        }
        nextPage_ = page->end();
        if (page->serial != serial_) {
            continue;
        }
        if (!isIntact(bytes_, *page)) {
            nextPage_ = page->offset + 4;
            hasPartial_ = false;
            continue;
        }
        isAfterLoss_ = isAfterLoss_ || (nextSequence_ && *nextSequence_ != page->sequence);
        hasPartial_ = hasPartial_ && !isAfterLoss_;
        nextSequence_ = page->sequence + 1;
        page_ = *page;
        segment_ = 0;
        bodyAt_ = page_.bodyOffset;
        endsLeft_ = page_.packetsEnding();
        return true;
    }
}

void OggPacketReader::append(int64_t bytes, size_t keepBytes) {
    const size_t old = partial_.data.size();
    const size_t room = keepBytes > old ? keepBytes - old : 0;
    const size_t kept = std::min(static_cast<size_t>(bytes), room);
    partial_.data.resize(old + kept);
    bytes_.read(bodyAt_, std::span(partial_.data).subspan(old));
    bodyAt_ += bytes;
}

std::optional<OggPacket> OggPacketReader::next(size_t keepBytes) {
    while (true) {
        if (segment_ >= page_.segments) {
            if (!loadPage()) {
                return std::nullopt;
            }
            if (!page_.isContinued) {
                hasPartial_ = false;
            }
        }
        const bool isOrphan = segment_ == 0 && page_.isContinued && !hasPartial_;
        if (!hasPartial_) {
            partial_ = {};
            hasPartial_ = true;
        }
        int64_t bytes = 0;
        bool isEnd = false;
        while (segment_ < page_.segments && !isEnd) {
            const uint8_t length = page_.lacing[static_cast<size_t>(segment_++)];
            bytes += length;
            isEnd = length < 255;
        }
        append(bytes, keepBytes);
        if (isOrphan) {
            // The packet's beginning is lost; its end still counts as one of the page's.
            hasPartial_ = false;
        }
        if (!isEnd) {
            continue;
        }
        --endsLeft_;
        if (!hasPartial_) {
            continue;
        }
        hasPartial_ = false;
        partial_.pageOffset = page_.offset;
        partial_.isAfterLoss = std::exchange(isAfterLoss_, false);
        if (endsLeft_ == 0) {
            partial_.granule = page_.granule;
            partial_.isLastOfStream = page_.isLast;
        }
        return std::move(partial_);
    }
}

}  // namespace halvenor
