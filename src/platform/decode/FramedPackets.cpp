#include "base/Error.h"
#include "platform/decode/Adts.h"
#include "platform/decode/MpegAudio.h"
#include "platform/decode/PacketSource.h"
#include "platform/ffmpeg/FFmpeg.h"

// A bare stream has no index, so one is made of the walk itself: every so many frames their place
// is noted. A seek forward walks on from the last note (headers only, no decoding); a seek back
// begins at the note before its target. Positions are thereby exact everywhere.

namespace halvenor {

namespace {

constexpr int64_t framesPerMark = 32;
/// Frames decoded before a target. Ten serve ordinary MP3; the bit reservoir (511 bytes) of the
/// lowest bit rates reaches back over twenty.
constexpr int64_t mpegPreroll = 24;
constexpr int64_t adtsPreroll = 4;

class FramedPackets final : public PacketSource {
  public:
    FramedPackets(std::shared_ptr<ByteSource> bytes, const StreamLayout& layout)
        : bytes_(std::move(bytes)),
          parameters_(codecParameters(layout)),
          walker_(*bytes_, layout.container == Container::adts ? adtsSyntax : mpegAudioSyntax,
                  layout.audioBegin, layout.audioEnd),
          sampleRate_(layout.format.sampleRate),
          preroll_(layout.container == Container::adts ? adtsPreroll : mpegPreroll) {
        walker_.moveTo(layout.audioBegin);
    }

    std::optional<PacketPlace> next(AVPacket& packet) override {
        const auto frame = step();
        if (!frame) {
            return std::nullopt;
        }
        buffer_.resize(static_cast<size_t>(frame->header.bytes));
        if (!bytes_->readFully(frame->offset, buffer_) || !fillPacket(packet, buffer_)) {
            return std::nullopt;
        }
        return PacketPlace{frameBegin_};
    }

    std::optional<int64_t> seek(int64_t frame) override {
        // First to where the target is, then back by whole frames.
        goToMark(markBefore(frame));
        int64_t target = index_;
        while (position_ <= frame && step()) {
            target = index_ - 1;
        }
        const int64_t first = std::max<int64_t>(target - preroll_, 0);
        goToMark(static_cast<size_t>(first / framesPerMark));
        while (index_ < first && step()) {
        }
        return position_;
    }

    const AVCodecParameters& parameters() const override { return *parameters_; }

  private:
    struct Mark {
        int64_t offset;
        int64_t position;
    };

    /// The next frame; notes its place.
    std::optional<FrameWalker::Frame> step() {
        const auto frame = walker_.next();
        if (!frame) {
            return std::nullopt;
        }
        if (index_ % framesPerMark == 0 &&
            index_ / framesPerMark == static_cast<int64_t>(marks_.size())) {
            marks_.push_back({frame->offset, position_});
        }
        frameBegin_ = position_;
        ++index_;
        const int samples = frame->header.samples;
        position_ += frame->header.sampleRate == sampleRate_
                         ? samples
                         : int64_t{samples} * sampleRate_ / frame->header.sampleRate;
        return frame;
    }

    /// The last mark that is not behind position `frame`.
    size_t markBefore(int64_t frame) const {
        const auto behind =
            std::upper_bound(marks_.begin(), marks_.end(), frame,
                             [](int64_t at, const Mark& other) { return at < other.position; });
        return behind == marks_.begin() ? 0 : static_cast<size_t>(behind - marks_.begin() - 1);
    }

    void goToMark(size_t mark) {
        if (marks_.empty()) {
            return;  // Nothing has been read: this is the beginning.
        }
        mark = std::min(mark, marks_.size() - 1);
        walker_.moveTo(marks_[mark].offset);
        position_ = marks_[mark].position;
        index_ = static_cast<int64_t>(mark) * framesPerMark;
    }

    std::shared_ptr<ByteSource> bytes_;
    LavPtr<AVCodecParameters> parameters_;
    FrameWalker walker_;
    int sampleRate_;
    int64_t preroll_;
    std::vector<Mark> marks_;
    std::vector<uint8_t> buffer_;
    int64_t index_ = 0;       ///< of the frame that comes next
    int64_t position_ = 0;    ///< of the frame that comes next
    int64_t frameBegin_ = 0;  ///< position of the frame given last
};

}  // namespace

std::unique_ptr<PacketSource> makeFramedPackets(std::shared_ptr<ByteSource> bytes,
                                                const StreamLayout& layout) {
    return std::make_unique<FramedPackets>(std::move(bytes), layout);
}

}  // namespace halvenor
