#include "base/Error.h"
#include "platform/decode/PacketSource.h"
#include "platform/ffmpeg/FFmpeg.h"

namespace halvenor {

namespace {

constexpr int ioBufferBytes = 32 * 1024;
constexpr int64_t aacPreroll = 4 * 2048;

[[noreturn]] void throwDamaged() {
    throw Error(ErrorKind::format, QStringLiteral("The file is damaged."));
}

/// The reading end of libavformat over a ByteSource: the file is ours, by descriptor.
class Io {
  public:
    explicit Io(std::shared_ptr<ByteSource> bytes) : bytes_(std::move(bytes)) {
        auto* buffer = static_cast<uint8_t*>(ffmpeg::av_malloc(ioBufferBytes));
        context_ = buffer != nullptr ? ffmpeg::avio_alloc_context(buffer, ioBufferBytes, 0, this,
                                                                  &Io::read, nullptr, &Io::seek)
                                     : nullptr;
        if (context_ == nullptr) {
            ffmpeg::av_free(buffer);
            throw std::bad_alloc();
        }
    }
    ~Io() {
        ffmpeg::av_freep(&context_->buffer);
        ffmpeg::avio_context_free(&context_);
    }
    Io(const Io&) = delete;
    Io& operator=(const Io&) = delete;

    AVIOContext* context() { return context_; }

  private:
    static int read(void* self, uint8_t* into, int size) {
        auto* io = static_cast<Io*>(self);
        const int64_t got = io->bytes_->read(io->at_, {into, static_cast<size_t>(size)});
        io->at_ += got;
        return got > 0 ? static_cast<int>(got) : AVERROR_EOF;
    }

    static int64_t seek(void* self, int64_t offset, int whence) {
        auto* io = static_cast<Io*>(self);
        const int64_t size = io->bytes_->size();
        switch (whence & ~AVSEEK_FORCE) {
            case AVSEEK_SIZE:
                return size;
            case SEEK_SET:
                break;
            case SEEK_CUR:
                offset += io->at_;
                break;
            case SEEK_END:
                offset += size;
                break;
            default:
                return AVERROR(EINVAL);
        }
        if (offset < 0) {
            return AVERROR(EINVAL);
        }
        io->at_ = offset;
        return offset;
    }

    std::shared_ptr<ByteSource> bytes_;
    int64_t at_ = 0;
    AVIOContext* context_ = nullptr;
};

const char* demuxerName(Container container) {
    switch (container) {
        case Container::mp4:
            return "mp4";
        case Container::flac:
            return "flac";
        case Container::wave:
            return "wav";
        case Container::aiff:
            return "aiff";
        default:
            return "";
    }
}

class ContainerPackets final : public PacketSource {
  public:
    ContainerPackets(std::shared_ptr<ByteSource> bytes, const StreamLayout& layout)
        : io_(std::move(bytes)), sampleRate_(layout.format.sampleRate) {
        open(layout.container);
        for (unsigned i = 0; i < format_->nb_streams && stream_ == nullptr; ++i) {
            if (format_->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
                stream_ = format_->streams[i];
            }
        }
        if (stream_ == nullptr) {
            close();
            throwDamaged();
        }
        for (unsigned i = 0; i < format_->nb_streams; ++i) {
            const bool isOurs = format_->streams[i] == stream_;
            format_->streams[i]->discard = isOurs ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
        }
        if (stream_->codecpar->codec_id == AV_CODEC_ID_AAC) {
            preroll_ = aacPreroll;
        }
    }
    ~ContainerPackets() override { close(); }

    std::optional<PacketPlace> next(AVPacket& packet) override {
        while (true) {
            ffmpeg::av_packet_unref(&packet);
            if (ffmpeg::av_read_frame(format_, &packet) < 0) {
                return std::nullopt;
            }
            if (packet.stream_index != stream_->index) {
                continue;
            }
            PacketPlace place;
            if (packet.pts != AV_NOPTS_VALUE) {
                place.begin =
                    ffmpeg::av_rescale_q(packet.pts, stream_->time_base, {1, sampleRate_});
            }
            return place;
        }
    }

    std::optional<int64_t> seek(int64_t frame) override {
        const int64_t target = std::max<int64_t>(frame - preroll_, 0);
        const int64_t ts =
            ffmpeg::av_rescale_q_rnd(target, {1, sampleRate_}, stream_->time_base, AV_ROUND_DOWN);
        if (ffmpeg::avformat_seek_file(format_, stream_->index, INT64_MIN, ts, ts, 0) >= 0 ||
            ffmpeg::avformat_seek_file(format_, stream_->index, INT64_MIN, 0, 0,
                                       AVSEEK_FLAG_BACKWARD) >= 0) {
            return std::nullopt;
        }
        // In a FLAC file of a single frame libavformat finds no place at all, and stays at the end.
        ffmpeg::avformat_seek_file(format_, stream_->index, dataBegin_, dataBegin_, dataBegin_,
                                   AVSEEK_FLAG_BYTE);
        return 0;
    }

    const AVCodecParameters& parameters() const override { return *stream_->codecpar; }

  private:
    void open(Container container) {
        const AVInputFormat* demuxer = ffmpeg::av_find_input_format(demuxerName(container));
        format_ = ffmpeg::avformat_alloc_context();
        if (demuxer == nullptr || format_ == nullptr) {
            throwDamaged();
        }
        format_->pb = io_.context();
        format_->flags |= AVFMT_FLAG_CUSTOM_IO;
        AVDictionary* options = nullptr;
        // Times as they are: what edit lists cut is known already, and to the frame.
        ffmpeg::av_dict_set(&options, "ignore_editlist", "1", 0);
        ffmpeg::av_dict_set(&options, "ignore_chapters", "1", 0);
        const int result = ffmpeg::avformat_open_input(&format_, nullptr, demuxer, &options);
        ffmpeg::av_dict_free(&options);
        if (result < 0) {
            format_ = nullptr;  // avformat_open_input has freed it.
            throwDamaged();
        }
        const AVIOContext& io = *io_.context();
        dataBegin_ = io.pos - (io.buf_end - io.buf_ptr);
    }

    void close() {
        if (format_ != nullptr) {
            ffmpeg::avformat_close_input(&format_);
        }
    }

    Io io_;
    int sampleRate_;
    AVFormatContext* format_ = nullptr;
    AVStream* stream_ = nullptr;
    int64_t dataBegin_ = 0;  // bytes; where the headers have ended
    int64_t preroll_ = 0;
};

}  // namespace

std::unique_ptr<PacketSource> makeContainerPackets(std::shared_ptr<ByteSource> bytes,
                                                   const StreamLayout& layout) {
    return std::make_unique<ContainerPackets>(std::move(bytes), layout);
}

}  // namespace halvenor
