#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "platform/decode/AudioFormat.h"

namespace halvenor {

/// What an AAC stream's AudioSpecificConfig (ISO 14496-3, 1.6) tells of what a decoder gives.
struct AacConfig {
    AudioFormat format;
    /// Band replication or parametric stereo may be there without being told.
    bool isFormatHidden = false;
};

std::optional<AacConfig> parseAudioSpecificConfig(std::span<const uint8_t> config);

}  // namespace halvenor
