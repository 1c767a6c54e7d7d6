#include "platform/decode/Ogg.h"
#include "platform/decode/PacketSource.h"
#include "platform/ffmpeg/FFmpeg.h"

namespace halvenor {

namespace {

/// Opus predicts over long stretches; after a second it has found its way to the last bit. The
/// others need a packet.
constexpr int64_t opusPreroll = 48000;
constexpr int64_t lapPreroll = 1;

class OggPackets final : public PacketSource {
  public:
    OggPackets(std::shared_ptr<ByteSource> bytes, const StreamLayout& layout)
        : bytes_(std::move(bytes)),
          parameters_(codecParameters(layout)),
          reader_(*bytes_, layout.oggSerial, layout.oggBegin),
          serial_(layout.oggSerial),
          begin_(layout.oggBegin),
          end_(layout.audioEnd),
          firstFrame_(layout.firstFrame),
          preroll_(layout.decoder == "libopus" ? opusPreroll : lapPreroll) {}

    std::optional<PacketPlace> next(AVPacket& packet) override {
        auto read = reader_.next();
        if (!read || !fillPacket(packet, read->data)) {
            return std::nullopt;
        }
        PacketPlace place;
        place.isAfterLoss = read->isAfterLoss;
        if (read->granule) {
            place.end = read->granule;
            place.isCut = read->isLastOfStream;
        }
        return place;
    }

    std::optional<int64_t> seek(int64_t frame) override {
        const auto page = pageEndingBefore(frame - preroll_);
        reader_.moveTo(page.value_or(begin_));
        return page ? std::nullopt : std::optional(firstFrame_);
    }

    const AVCodecParameters& parameters() const override { return *parameters_; }

  private:
    std::optional<OggPage> pageFrom(int64_t offset, int64_t limit) {
        auto page = findOggPage(*bytes_, offset, limit);
        while (page && (page->serial != serial_ || page->granule == -1)) {
            page = findOggPage(*bytes_, page->end(), limit);
        }
        return page;
    }

    /// The last page at whose end the stream has not gone past `frame`, found by halving.
    std::optional<int64_t> pageEndingBefore(int64_t frame) {
        std::optional<int64_t> best;
        int64_t low = begin_;
        int64_t high = end_;
        while (low < high) {
            const int64_t middle = high - low > 8192 ? low + (high - low) / 2 : low;
            const auto page = pageFrom(middle, high);
            if (!page) {
                if (middle == low) {
                    break;
                }
                high = middle;
            } else if (page->granule <= frame) {
                best = page->offset;
                low = page->end();
            } else if (middle == low) {
                break;
            } else {
                high = middle;
            }
        }
        return best;
    }

    std::shared_ptr<ByteSource> bytes_;
    LavPtr<AVCodecParameters> parameters_;
    OggPacketReader reader_;
    uint32_t serial_;
    int64_t begin_;
    int64_t end_;
    int64_t firstFrame_;
    int64_t preroll_;
};

}  // namespace

std::unique_ptr<PacketSource> makeOggPackets(std::shared_ptr<ByteSource> bytes,
                                             const StreamLayout& layout) {
    return std::make_unique<OggPackets>(std::move(bytes), layout);
}

}  // namespace halvenor
