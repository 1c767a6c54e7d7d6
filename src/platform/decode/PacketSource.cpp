#include "platform/decode/PacketSource.h"

#include <cstring>

#include "platform/ffmpeg/FFmpeg.h"

namespace halvenor {

std::unique_ptr<PacketSource> makePacketSource(std::shared_ptr<ByteSource> bytes,
                                               const StreamLayout& layout) {
    ffmpeg::load();
    switch (layout.container) {
        case Container::mpegAudio:
        case Container::adts:
            return makeFramedPackets(std::move(bytes), layout);
        case Container::ogg:
            return makeOggPackets(std::move(bytes), layout);
        case Container::wave:
        case Container::aiff:
            if (layout.bytesPerFrame > 0) {
                return makePcmPackets(std::move(bytes), layout);
            }
            break;
        case Container::flac:
        case Container::mp4:
            break;
    }
    return makeContainerPackets(std::move(bytes), layout);
}

bool fillPacket(AVPacket& packet, std::span<const uint8_t> data) {
    ffmpeg::av_packet_unref(&packet);
    if (ffmpeg::av_new_packet(&packet, static_cast<int>(data.size())) < 0) {
        return false;
    }
    std::memcpy(packet.data, data.data(), data.size());
    return true;
}

}  // namespace halvenor
