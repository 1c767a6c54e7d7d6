#pragma once

#include <optional>

#include "platform/decode/ByteSource.h"

namespace halvenor {

/// What the header of one bare frame (MPEG audio, ADTS) tells.
struct FrameHeader {
    int bytes = 0;       ///< header included; 0: free format, told by the distance to the next
    int samples = 0;     ///< in each channel
    int sampleRate = 0;  ///< frames per second
    int channels = 0;    ///< 0: not told by the header
    int bitRate = 0;     ///< nominal, bits per second; 0: not told
    uint32_t kind = 0;   ///< what can't change within a stream: version and layer
    int padding = 0;     ///< bytes added to a frame of free format
};

/// How frames of one family are recognised.
struct FrameSyntax {
    int headerBytes;
    /// Reads a header of headerBytes bytes; absent when it is none.
    std::optional<FrameHeader> (*parse)(const uint8_t* header);
    /// Whether the frame at `offset` carries a table of the whole stream, which no chance makes.
    bool (*isCertain)(ByteSource& bytes, int64_t offset);
};

/// Walks over bare frames by the lengths that their headers tell, without decoding.
///
/// What lies between frames (tags, damage) is passed over: after junk a header is believed when
/// more follow where it says. A frame that the end cuts off is not given.
class FrameWalker {
  public:
    struct Frame {
        int64_t offset = 0;
        FrameHeader header;
    };

    /// @param begin where the first frame is, or is looked for
    /// @param end   bytes from here on are not looked at
    FrameWalker(ByteSource& bytes, const FrameSyntax& syntax, int64_t begin, int64_t end);

    /// The first believable frame before `searchEnd`; the walk then begins there.
    std::optional<int64_t> findStart(int64_t searchEnd);

    /// The next frame, absent at the end.
    std::optional<Frame> next();

    /// Goes on at `offset`, which must be a frame that next() gave before.
    void moveTo(int64_t offset);
    /// Size of frames of free format without padding, once met; a walk over the same bytes that
    /// begins elsewhere needs it.
    int64_t freeFormatBytes() const { return freeFormatBytes_; }

  private:
    std::optional<FrameHeader> headerAt(int64_t offset);
    std::optional<int64_t> measureFreeFormat(int64_t offset, const FrameHeader& header);
    bool isBelievable(int64_t offset, const FrameHeader& header);
    std::optional<Frame> search(int64_t from, int64_t searchEnd);

    ByteSource& bytes_;
    const FrameSyntax& syntax_;
    int64_t begin_;
    int64_t end_;
    int64_t offset_;
    uint32_t kind_ = 0;
    bool isInSync_ = false;
    int64_t freeFormatBytes_ = 0;
    /// Measuring scans ahead; bytes made to look like headers shall not make that quadratic.
    int measurementsLeft_ = 256;
};

}  // namespace halvenor
