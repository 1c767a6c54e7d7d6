#pragma once

#include "platform/decode/FrameWalker.h"

namespace halvenor {

/// MPEG-1, -2 and -2.5 audio, layers I to III (ISO 11172-3, ISO 13818-3).
extern const FrameSyntax mpegAudioSyntax;

/// FrameHeader::kind of MPEG audio holds the layer, 1...3, in its two lowest bits.
inline int mpegLayer(const FrameHeader& header) {
    return static_cast<int>(header.kind & 3u);
}

}  // namespace halvenor
