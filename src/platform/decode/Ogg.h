#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/decode/ByteSource.h"

namespace halvenor {

/// One page of an Ogg bitstream (RFC 3533), its body left where it lies.
struct OggPage {
    int64_t offset = 0;
    int64_t bodyOffset = 0;
    int64_t bodyBytes = 0;
    int64_t granule = -1;  ///< position behind the last packet that ends here; -1: none ends here
    uint32_t serial = 0;
    uint32_t sequence = 0;     ///< number of the page within its stream
    bool isContinued = false;  ///< begins inside a packet
    bool isFirst = false;      ///< begins a logical stream
    bool isLast = false;       ///< ends a logical stream
    int segments = 0;
    std::array<uint8_t, 255> lacing{};

    int64_t end() const { return bodyOffset + bodyBytes; }
    /// Packets that end on this page.
    int packetsEnding() const;
};

/// The first page at or after `offset` that begins before `limit`; damage is passed over.
std::optional<OggPage> findOggPage(ByteSource& bytes, int64_t offset, int64_t limit);

/// The last page of the stream `serial` that begins in [from, limit) and has a granule position.
/// A serial of nullopt takes any stream's. Looks back over a bounded number of bytes.
std::optional<OggPage> findLastOggPage(ByteSource& bytes, int64_t from, int64_t limit,
                                       std::optional<uint32_t> serial);

/// One packet and what its page tells.
struct OggPacket {
    std::vector<uint8_t> data;
    /// Where the stream stands behind this packet, when it is the last to end on its page.
    std::optional<int64_t> granule;
    bool isLastOfStream = false;
    bool isAfterLoss = false;  ///< a page before it is missing or damaged
    int64_t pageOffset = 0;    ///< the page that it ends on
};

/// Puts the packets of one logical stream together, page by page. Pages with a wrong checksum are
/// left out, and so are packets that lost a part.
class OggPacketReader {
  public:
    /// @param offset where a page begins
    OggPacketReader(ByteSource& bytes, uint32_t serial, int64_t offset);

    /// The next whole packet; of a longer one only the first `keepBytes` bytes.
    std::optional<OggPacket> next(size_t keepBytes = maximalPacketBytes);
    /// Goes on with the page at `offset`.
    void moveTo(int64_t offset);
    /// The byte behind the page that is being read.
    int64_t nextPageOffset() const { return nextPage_; }

    static constexpr size_t maximalPacketBytes = 4 << 20;

  private:
    bool loadPage();
    void append(int64_t bytes, size_t keepBytes);

    ByteSource& bytes_;
    uint32_t serial_;
    int64_t nextPage_;
    OggPage page_;
    int segment_ = 0;
    int64_t bodyAt_ = 0;
    int endsLeft_ = 0;
    std::optional<uint32_t> nextSequence_;
    bool isAfterLoss_ = false;
    bool hasPartial_ = false;
    OggPacket partial_;
};

}  // namespace halvenor
