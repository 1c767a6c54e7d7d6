#pragma once

#include "platform/decode/FrameWalker.h"

namespace halvenor {

/// AAC in ADTS frames (ISO 13818-7, annex on transport).
extern const FrameSyntax adtsSyntax;

}  // namespace halvenor
