#pragma once

#include <optional>

#include "platform/decode/Decoder.h"

namespace halvenor {

/// What a packet tells of the place of the frames it decodes to, in the decoder's frames from the
/// stream's beginning (StreamLayout). At most one of the two.
struct PacketPlace {
    std::optional<int64_t> begin = std::nullopt;
    std::optional<int64_t> end = std::nullopt;
    /// The end is where the stream is cut, not where the decoder's frames end.
    bool isCut = false;
    /// Something is missing before it: frames can't be counted on from what came before.
    bool isAfterLoss = false;
};

/// The packets of one stream in order, from any place. One thread at a time.
class PacketSource {
  public:
    virtual ~PacketSource() = default;

    /// Puts the next packet into `packet`, which is overwritten. @return absent at the end
    virtual std::optional<PacketPlace> next(AVPacket& packet) = 0;
    /// Goes to a packet early enough before `frame` that a decoder that begins there gives, at
    /// `frame`, what it would have given coming from the beginning.
    /// @return the position of the first frame that will be decoded, where it is known
    virtual std::optional<int64_t> seek(int64_t frame) = 0;

    virtual const AVCodecParameters& parameters() const = 0;
};

/// Chooses by the layout's container. @throws Error (format or unsupported)
std::unique_ptr<PacketSource> makePacketSource(std::shared_ptr<ByteSource> bytes,
                                               const StreamLayout& layout);

/// @name The kinds of source behind makePacketSource()
/// @{

/// Bare MPEG audio and ADTS frames.
std::unique_ptr<PacketSource> makeFramedPackets(std::shared_ptr<ByteSource> bytes,
                                                const StreamLayout& layout);
/// Plain PCM in WAVE and AIFF.
std::unique_ptr<PacketSource> makePcmPackets(std::shared_ptr<ByteSource> bytes,
                                             const StreamLayout& layout);
std::unique_ptr<PacketSource> makeOggPackets(std::shared_ptr<ByteSource> bytes,
                                             const StreamLayout& layout);
/// What libavformat takes apart: MP4, FLAC, and whatever else a WAVE or AIFF file holds.
std::unique_ptr<PacketSource> makeContainerPackets(std::shared_ptr<ByteSource> bytes,
                                                   const StreamLayout& layout);
/// @}

/// Makes `packet` a copy of `data`, with the padding that decoders want.
/// @return false when there is no memory for it
bool fillPacket(AVPacket& packet, std::span<const uint8_t> data);

}  // namespace halvenor
