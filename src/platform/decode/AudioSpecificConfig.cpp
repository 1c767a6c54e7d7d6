#include "platform/decode/AudioSpecificConfig.h"

#include <array>

namespace halvenor {

namespace {

constexpr std::array<int, 13> rates = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                       22050, 16000, 12000, 11025, 8000,  7350};

/// Bits from the most significant on; zeros behind the end.
class BitReader {
  public:
    explicit BitReader(std::span<const uint8_t> bytes) : bytes_(bytes) {}

    uint32_t take(int bits) {
        uint32_t value = 0;
        for (; bits > 0; --bits, ++at_) {
            const size_t byte = at_ / 8;
            const uint32_t bit = byte < bytes_.size() ? bytes_[byte] >> (7 - at_ % 8) & 1u : 0u;
            value = value << 1 | bit;
        }
        return value;
    }
    uint32_t peek(int bits) const {
        BitReader copy = *this;
        return copy.take(bits);
    }
    size_t bitsLeft() const { return at_ >= bytes_.size() * 8 ? 0 : bytes_.size() * 8 - at_; }

  private:
    std::span<const uint8_t> bytes_;
    size_t at_ = 0;
};

int takeRate(BitReader& bits) {
    const uint32_t index = bits.take(4);
    if (index == 15) {
        return static_cast<int>(bits.take(24));
    }
    return index < rates.size() ? rates[index] : 0;
}

int takeObjectType(BitReader& bits) {
    const uint32_t type = bits.take(5);
    return static_cast<int>(type == 31 ? 32 + bits.take(6) : type);
}

}  // namespace

std::optional<AacConfig> parseAudioSpecificConfig(std::span<const uint8_t> config) {
    if (config.size() < 2) {
        return std::nullopt;
    }
    constexpr int replication = 5, parametricStereo = 29;
    BitReader bits(config);
    const int type = takeObjectType(bits);
    AacConfig result;
    result.format.sampleRate = takeRate(bits);
    const int configuration = static_cast<int>(bits.take(4));
    result.format.channels = configuration == 7 ? 8 : configuration;
    bool isTold = type == replication || type == parametricStereo;
    bool isStereoTold = type == parametricStereo;
    if (isTold) {
        result.format.sampleRate = takeRate(bits);
    } else {
        // Old decoders stop before this extension, which says the same behind the core's part.
        while (bits.bitsLeft() > 15) {
            if (bits.peek(11) != 0x2b7) {
                bits.take(1);
                continue;
            }
            bits.take(11);
            if (takeObjectType(bits) == replication) {
                isTold = true;
                if (bits.take(1) == 1) {
                    result.format.sampleRate = takeRate(bits);
                    isStereoTold = bits.bitsLeft() > 11 && bits.take(11) == 0x548 && bits.take(1);
                }
            }
            break;
        }
    }
    if (isStereoTold && result.format.channels == 1) {
        result.format.channels = 2;
    }
    const bool mayReplicate = !isTold && result.format.sampleRate <= 24000;
    const bool mayBeStereo = isTold && !isStereoTold && configuration == 1;
    result.isFormatHidden = mayReplicate || mayBeStereo || configuration == 0 || configuration > 7;
    return result;
}

}  // namespace halvenor
