#include "platform/decode/Decoder.h"

#include <cstring>

#include "base/Error.h"
#include "platform/ffmpeg/FFmpeg.h"

namespace halvenor {

namespace {

[[noreturn]] void throwUnsupported() {
    throw Error(ErrorKind::unsupported,
                QStringLiteral("The file holds no audio in a format that can be played."));
}

template <typename Sample, typename ToFloat>
void interleave(const AVFrame& frame, bool isPlanar, float* out, ToFloat toFloat) {
    const int channels = frame.ch_layout.nb_channels;
    for (int channel = 0; channel < channels; ++channel) {
        const uint8_t* plane = frame.extended_data[isPlanar ? channel : 0];
        const size_t stride = isPlanar ? 1 : static_cast<size_t>(channels);
        const Sample* in = reinterpret_cast<const Sample*>(plane) + (isPlanar ? 0 : channel);
        float* to = out + channel;
        for (int i = 0; i < frame.nb_samples; ++i, in += stride, to += channels) {
            *to = toFloat(*in);
        }
    }
}

void toFloats(const AVFrame& frame, float* out) {
    const auto format = static_cast<AVSampleFormat>(frame.format);
    const bool isPlanar = ffmpeg::av_sample_fmt_is_planar(format) != 0;
    switch (ffmpeg::av_get_packed_sample_fmt(format)) {
        case AV_SAMPLE_FMT_U8:
            interleave<uint8_t>(frame, isPlanar, out,
                                [](uint8_t v) { return float(int(v) - 128) / 128.0f; });
            break;
        case AV_SAMPLE_FMT_S16:
            interleave<int16_t>(frame, isPlanar, out,
                                [](int16_t v) { return float(v) / 32768.0f; });
            break;
        case AV_SAMPLE_FMT_S32:
            interleave<int32_t>(frame, isPlanar, out,
                                [](int32_t v) { return float(v) / 2147483648.0f; });
            break;
        case AV_SAMPLE_FMT_FLT:
            interleave<float>(frame, isPlanar, out, [](float v) { return v; });
            break;
        case AV_SAMPLE_FMT_DBL:
            interleave<double>(frame, isPlanar, out, [](double v) { return float(v); });
            break;
        default:
            std::memset(out, 0,
                        sizeof(float) * static_cast<size_t>(frame.nb_samples) *
                            static_cast<size_t>(frame.ch_layout.nb_channels));
    }
}

}  // namespace

void LavDeleter::operator()(AVCodecContext* context) const {
    ffmpeg::avcodec_free_context(&context);
}
void LavDeleter::operator()(AVCodecParameters* parameters) const {
    ffmpeg::avcodec_parameters_free(&parameters);
}
void LavDeleter::operator()(AVFrame* frame) const {
    ffmpeg::av_frame_free(&frame);
}
void LavDeleter::operator()(AVPacket* packet) const {
    ffmpeg::av_packet_free(&packet);
}

LavPtr<AVCodecParameters> codecParameters(const StreamLayout& layout) {
    LavPtr<AVCodecParameters> parameters(ffmpeg::avcodec_parameters_alloc());
    const AVCodec* codec = ffmpeg::avcodec_find_decoder_by_name(layout.decoder.c_str());
    if (!parameters || codec == nullptr) {
        throwUnsupported();
    }
    parameters->codec_type = AVMEDIA_TYPE_AUDIO;
    parameters->codec_id = codec->id;
    parameters->sample_rate = layout.format.sampleRate;
    if (layout.format.channels > 0) {
        ffmpeg::av_channel_layout_default(&parameters->ch_layout, layout.format.channels);
    }
    parameters->block_align = layout.bytesPerFrame;
    if (!layout.extradata.empty()) {
        const size_t size = layout.extradata.size();
        parameters->extradata =
            static_cast<uint8_t*>(ffmpeg::av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE));
        if (parameters->extradata == nullptr) {
            throw std::bad_alloc();
        }
        std::memcpy(parameters->extradata, layout.extradata.data(), size);
        parameters->extradata_size = static_cast<int>(size);
    }
    return parameters;
}

/// Rate and channels of a stretch of the stream brought to the file's format.
class Decoder::Converter {
  public:
    Converter(const AVFrame& from, AudioFormat to) : rate_(from.sample_rate), format_(from.format) {
        ffmpeg::av_channel_layout_copy(&layout_, &from.ch_layout);
        AVChannelLayout out{};
        ffmpeg::av_channel_layout_default(&out, to.channels);
        AVChannelLayout in{};
        if (layout_.order == AV_CHANNEL_ORDER_UNSPEC) {
            ffmpeg::av_channel_layout_default(&in, layout_.nb_channels);
        } else {
            ffmpeg::av_channel_layout_copy(&in, &layout_);
        }
        ffmpeg::swr_alloc_set_opts2(&swr_, &out, AV_SAMPLE_FMT_FLT, to.sampleRate, &in,
                                    static_cast<AVSampleFormat>(format_), rate_, 0, nullptr);
        ffmpeg::av_channel_layout_uninit(&in);
        ffmpeg::av_channel_layout_uninit(&out);
        isUsable_ = swr_ != nullptr && ffmpeg::swr_init(swr_) >= 0;
    }
    ~Converter() {
        ffmpeg::swr_free(&swr_);
        ffmpeg::av_channel_layout_uninit(&layout_);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool fits(const AVFrame& frame) const {
        return frame.sample_rate == rate_ && frame.format == format_ &&
               ffmpeg::av_channel_layout_compare(&frame.ch_layout, &layout_) == 0;
    }

    /// A null frame drains.
    void append(const AVFrame* frame, int channels, SampleBlock& block) {
        if (!isUsable_) {
            return;
        }
        const int given = frame != nullptr ? frame->nb_samples : 0;
        const int room = ffmpeg::swr_get_out_samples(swr_, given);
        if (room <= 0) {
            return;
        }
        const size_t old = block.samples.size();
        block.samples.resize(old + static_cast<size_t>(room) * static_cast<size_t>(channels));
        auto* out = reinterpret_cast<uint8_t*>(block.samples.data() + old);
        const uint8_t** in =
            frame != nullptr ? const_cast<const uint8_t**>(frame->extended_data) : nullptr;
        const int made = std::max(ffmpeg::swr_convert(swr_, &out, room, in, given), 0);
        block.samples.resize(old + static_cast<size_t>(made) * static_cast<size_t>(channels));
        block.frames += made;
    }

  private:
    SwrContext* swr_ = nullptr;
    AVChannelLayout layout_{};
    int rate_;
    int format_;
    bool isUsable_ = false;
};

Decoder::Decoder(const AVCodecParameters& parameters, const std::string& decoderName)
    : parameters_(ffmpeg::avcodec_parameters_alloc()),
      decoderName_(decoderName),
      frame_(ffmpeg::av_frame_alloc()) {
    if (!parameters_ || !frame_ ||
        ffmpeg::avcodec_parameters_copy(parameters_.get(), &parameters) < 0) {
        throw std::bad_alloc();
    }
    open();
}

Decoder::~Decoder() = default;

void Decoder::open() {
    const AVCodec* codec = ffmpeg::avcodec_find_decoder_by_name(decoderName_.c_str());
    if (codec == nullptr || codec->id != parameters_->codec_id) {
        codec = ffmpeg::avcodec_find_decoder(parameters_->codec_id);
    }
    if (codec == nullptr) {
        throwUnsupported();
    }
    context_.reset(ffmpeg::avcodec_alloc_context3(codec));
    if (!context_ || ffmpeg::avcodec_parameters_to_context(context_.get(), parameters_.get()) < 0) {
        throw std::bad_alloc();
    }
    context_->thread_count = 1;
    context_->flags2 |= AV_CODEC_FLAG2_SKIP_MANUAL;
    context_->pkt_timebase = {1, std::max(parameters_->sample_rate, 1)};
    if (ffmpeg::avcodec_open2(context_.get(), codec, nullptr) < 0) {
        throwUnsupported();
    }
}

void Decoder::reset() {
    converter_.reset();
    // A flush leaves traces in some decoders (AAC's window shapes, Vorbis' first packet).
    open();
}

void Decoder::decode(const AVPacket* packet, SampleBlock& block) {
    if (ffmpeg::avcodec_send_packet(context_.get(), packet) >= 0) {
        receiveAll(block);
    }
    if (packet == nullptr && converter_) {
        converter_->append(nullptr, format_.channels, block);
        converter_.reset();
    }
}

void Decoder::receiveAll(SampleBlock& block) {
    while (ffmpeg::avcodec_receive_frame(context_.get(), frame_.get()) >= 0) {
        append(*frame_, block);
        ffmpeg::av_frame_unref(frame_.get());
    }
}

void Decoder::append(const AVFrame& frame, SampleBlock& block) {
    const AudioFormat format = {frame.sample_rate, frame.ch_layout.nb_channels};
    if (!isPlausible(format) || frame.nb_samples <= 0) {
        return;
    }
    if (format_.sampleRate == 0) {
        format_ = format;
    }
    if (converter_ && !converter_->fits(frame)) {
        converter_->append(nullptr, format_.channels, block);
        converter_.reset();
    }
    if (format != format_) {
        if (!converter_) {
            converter_ = std::make_unique<Converter>(frame, format_);
        }
        converter_->append(&frame, format_.channels, block);
        return;
    }
    const size_t old = block.samples.size();
    block.samples.resize(old + static_cast<size_t>(frame.nb_samples) *
                                   static_cast<size_t>(format_.channels));
    toFloats(frame, block.samples.data() + old);
    block.frames += frame.nb_samples;
}

}  // namespace halvenor
