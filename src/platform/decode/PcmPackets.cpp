#include "platform/decode/PacketSource.h"
#include "platform/ffmpeg/FFmpeg.h"

namespace halvenor {

namespace {

constexpr int64_t framesPerPacket = 4096;

class PcmPackets final : public PacketSource {
  public:
    PcmPackets(std::shared_ptr<ByteSource> bytes, const StreamLayout& layout)
        : bytes_(std::move(bytes)),
          parameters_(codecParameters(layout)),
          begin_(layout.audioBegin),
          frameBytes_(layout.bytesPerFrame),
          frames_(layout.frames) {}

    std::optional<PacketPlace> next(AVPacket& packet) override {
        const int64_t frames = std::min(framesPerPacket, frames_ - at_);
        if (frames <= 0) {
            return std::nullopt;
        }
        buffer_.resize(static_cast<size_t>(frames * frameBytes_));
        const int64_t got = bytes_->read(begin_ + at_ * frameBytes_, buffer_) / frameBytes_;
        if (got <= 0 ||
            !fillPacket(packet, std::span(buffer_).first(static_cast<size_t>(got * frameBytes_)))) {
            return std::nullopt;
        }
        const PacketPlace place{at_};
        at_ += got;
        return place;
    }

    std::optional<int64_t> seek(int64_t frame) override {
        at_ = std::max<int64_t>(frame, 0);
        return at_;
    }

    const AVCodecParameters& parameters() const override { return *parameters_; }

  private:
    std::shared_ptr<ByteSource> bytes_;
    LavPtr<AVCodecParameters> parameters_;
    int64_t begin_;
    int64_t frameBytes_;
    int64_t frames_;
    int64_t at_ = 0;
    std::vector<uint8_t> buffer_;
};

}  // namespace

std::unique_ptr<PacketSource> makePcmPackets(std::shared_ptr<ByteSource> bytes,
                                             const StreamLayout& layout) {
    return std::make_unique<PcmPackets>(std::move(bytes), layout);
}

}  // namespace halvenor
