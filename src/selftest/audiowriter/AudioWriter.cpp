#include "selftest/audiowriter/AudioWriter.h"

#include <cmath>
#include <cstring>
#include <memory>

#include "base/Error.h"
#include "platform/ffmpeg/FFmpeg.h"

namespace halvenor {

namespace {

/// How each type is made with libav*.
struct Recipe {
    const char* muxer;
    const char* encoder;
    AVSampleFormat format;
    int bits;  ///< of integer samples
    bool holdsCover;
};

Recipe recipeOf(AudioFileType type) {
    switch (type) {
        case AudioFileType::wave16:
            return {"wav", "pcm_s16le", AV_SAMPLE_FMT_S16, 16, false};
        case AudioFileType::waveFloat:
            return {"wav", "pcm_f32le", AV_SAMPLE_FMT_FLT, 0, false};
        case AudioFileType::aiff16:
            return {"aiff", "pcm_s16be", AV_SAMPLE_FMT_S16, 16, false};
        case AudioFileType::flac16:
            return {"flac", "flac", AV_SAMPLE_FMT_S16, 16, true};
        case AudioFileType::flac24:
            return {"flac", "flac", AV_SAMPLE_FMT_S32, 24, true};
        case AudioFileType::alac16:
            return {"ipod", "alac", AV_SAMPLE_FMT_S16P, 16, true};
        case AudioFileType::aacMp4:
            return {"ipod", "aac", AV_SAMPLE_FMT_FLTP, 0, true};
        case AudioFileType::aacAdts:
            return {"adts", "aac", AV_SAMPLE_FMT_FLTP, 0, false};
        case AudioFileType::mp3:
            return {"mp3", "libmp3lame", AV_SAMPLE_FMT_FLTP, 0, true};
        case AudioFileType::vorbis:
            return {"ogg", "libvorbis", AV_SAMPLE_FMT_FLTP, 0, false};
        case AudioFileType::opus:
            return {"ogg", "libopus", AV_SAMPLE_FMT_FLT, 0, false};
    }
    return {};
}

struct Free {
    void operator()(AVCodecContext* context) const { ffmpeg::avcodec_free_context(&context); }
    void operator()(AVFrame* frame) const { ffmpeg::av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { ffmpeg::av_packet_free(&packet); }
    void operator()(AVFormatContext* format) const {
        if (format != nullptr && format->pb != nullptr) {
            ffmpeg::avio_closep(&format->pb);
        }
        ffmpeg::avformat_free_context(format);
    }
};
template <typename T>
using Owned = std::unique_ptr<T, Free>;

void check(int result, const QString& what) {
    if (result < 0) {
        throw Error(ErrorKind::io, QStringLiteral("The file can't be written: %1.").arg(what));
    }
}

/// Bytes from the front of an image tell PNG; everything else is taken for JPEG.
AVCodecID imageCodec(const QByteArray& image) {
    return image.startsWith("\x89PNG") ? AV_CODEC_ID_PNG : AV_CODEC_ID_MJPEG;
}

class Writer {
  public:
    Writer(const FileUrl& url, const Recipe& recipe, int sampleRate, int channels,
           const AudioFileTags& tags)
        : recipe_(recipe), channels_(channels) {
        const QByteArray path = QByteArray("file:") + url.path();
        AVFormatContext* made = nullptr;
        ffmpeg::avformat_alloc_output_context2(&made, nullptr, recipe.muxer, path.constData());
        format_.reset(made);
        const AVCodec* codec = ffmpeg::avcodec_find_encoder_by_name(recipe.encoder);
        if (!format_ || codec == nullptr) {
            throw Error(ErrorKind::unsupported, QStringLiteral("The encoder %1 is missing.")
                                                    .arg(QString::fromLatin1(recipe.encoder)));
        }
        openEncoder(codec, sampleRate);
        AVStream* stream = ffmpeg::avformat_new_stream(format_.get(), nullptr);
        stream->time_base = {1, sampleRate};
        ffmpeg::avcodec_parameters_from_context(stream->codecpar, encoder_.get());
        setTags(tags);
        const bool hasCover = recipe.holdsCover && !tags.cover.isEmpty();
        if (hasCover) {
            addCoverStream(tags.cover);
        }
        const int opened = ffmpeg::avio_open(&format_->pb, path.constData(), AVIO_FLAG_WRITE);
        if (opened < 0) {
            throw Error::fromErrno(AVUNERROR(opened));
        }
        check(ffmpeg::avformat_write_header(format_.get(), nullptr), QStringLiteral("header"));
        if (hasCover) {
            writeCover(tags.cover);
        }
    }

    void write(std::span<const float> samples) {
        const auto channels = static_cast<size_t>(channels_);
        const size_t frames = samples.size() / channels;
        const size_t step =
            encoder_->frame_size > 0 ? static_cast<size_t>(encoder_->frame_size) : size_t{4096};
        for (size_t at = 0; at < frames; at += step) {
            const size_t count = std::min(step, frames - at);
            const Owned<AVFrame> frame =
                makeFrame(samples.subspan(at * channels, count * channels));
            frame->pts = static_cast<int64_t>(at);
            encode(frame.get());
        }
        encode(nullptr);
        check(ffmpeg::av_write_trailer(format_.get()), QStringLiteral("end"));
    }

  private:
    void openEncoder(const AVCodec* codec, int sampleRate) {
        encoder_.reset(ffmpeg::avcodec_alloc_context3(codec));
        encoder_->sample_rate = sampleRate;
        encoder_->sample_fmt = recipe_.format;
        encoder_->bits_per_raw_sample = recipe_.bits;
        encoder_->time_base = {1, sampleRate};
        encoder_->strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;
        ffmpeg::av_channel_layout_default(&encoder_->ch_layout, channels_);
        if (codec->id == AV_CODEC_ID_AAC) {
            // Noise substitution decodes differently each time.
            ffmpeg::av_opt_set_int(encoder_->priv_data, "aac_pns", 0, 0);
        }
        if ((format_->oformat->flags & AVFMT_GLOBALHEADER) != 0) {
            encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        }
        const int result = ffmpeg::avcodec_open2(encoder_.get(), codec, nullptr);
        if (result < 0) {
            throw Error(ErrorKind::unsupported,
                        QStringLiteral("The encoder %1 can't write this rate or these channels.")
                            .arg(QString::fromLatin1(codec->name)));
        }
    }

    void setTags(const AudioFileTags& tags) {
        // Ogg keeps its comments with the stream.
        AVDictionary** const metadata = std::strcmp(recipe_.muxer, "ogg") == 0
                                            ? &format_->streams[0]->metadata
                                            : &format_->metadata;
        const auto set = [&](const char* key, const QString& value) {
            if (!value.isEmpty()) {
                ffmpeg::av_dict_set(metadata, key, value.toUtf8().constData(), 0);
            }
        };
        set("title", tags.title);
        set("artist", tags.artist);
        set("album", tags.album);
        set("track", tags.track > 0 ? QString::number(tags.track) : QString());
    }

    void addCoverStream(const QByteArray& cover) {
        AVStream* stream = ffmpeg::avformat_new_stream(format_.get(), nullptr);
        stream->disposition = AV_DISPOSITION_ATTACHED_PIC;
        stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
        stream->codecpar->codec_id = imageCodec(cover);
        stream->codecpar->width = 1;
        stream->codecpar->height = 1;
        stream->time_base = {1, 90000};
    }

    void writeCover(const QByteArray& cover) {
        const Owned<AVPacket> packet(ffmpeg::av_packet_alloc());
        check(ffmpeg::av_new_packet(packet.get(), static_cast<int>(cover.size())),
              QStringLiteral("cover"));
        std::memcpy(packet->data, cover.constData(), static_cast<size_t>(cover.size()));
        packet->stream_index = 1;
        packet->pts = packet->dts = 0;
        packet->flags |= AV_PKT_FLAG_KEY;
        check(ffmpeg::av_interleaved_write_frame(format_.get(), packet.get()),
              QStringLiteral("cover"));
    }

    /// A sample as the integer of `recipe_.bits` bits, at the top of `storageBits` bits.
    int32_t toInteger(float sample, int storageBits) const {
        const double scale = std::ldexp(1.0, recipe_.bits - 1);
        const double value = std::clamp(std::nearbyint(double(sample) * scale), -scale, scale - 1);
        return static_cast<int32_t>(static_cast<uint32_t>(static_cast<int32_t>(value))
                                    << (storageBits - recipe_.bits));
    }

    void store(AVFrame& frame, int channel, int index, float sample) const {
        const bool isPlanar = ffmpeg::av_sample_fmt_is_planar(recipe_.format) != 0;
        uint8_t* plane = frame.extended_data[isPlanar ? channel : 0];
        const int at = isPlanar ? index : index * channels_ + channel;
        switch (ffmpeg::av_get_packed_sample_fmt(recipe_.format)) {
            case AV_SAMPLE_FMT_S16:
                reinterpret_cast<int16_t*>(plane)[at] = static_cast<int16_t>(toInteger(sample, 16));
                break;
            case AV_SAMPLE_FMT_S32:
                reinterpret_cast<int32_t*>(plane)[at] = toInteger(sample, 32);
                break;
            default:
                reinterpret_cast<float*>(plane)[at] = sample;
        }
    }

    Owned<AVFrame> makeFrame(std::span<const float> samples) {
        Owned<AVFrame> frame(ffmpeg::av_frame_alloc());
        frame->nb_samples = static_cast<int>(samples.size()) / channels_;
        frame->format = recipe_.format;
        frame->sample_rate = encoder_->sample_rate;
        ffmpeg::av_channel_layout_copy(&frame->ch_layout, &encoder_->ch_layout);
        check(ffmpeg::av_frame_get_buffer(frame.get(), 0), QStringLiteral("memory"));
        for (int i = 0; i < frame->nb_samples; ++i) {
            for (int channel = 0; channel < channels_; ++channel) {
                store(*frame, channel, i, samples[static_cast<size_t>(i * channels_ + channel)]);
            }
        }
        return frame;
    }

    void encode(const AVFrame* frame) {
        check(ffmpeg::avcodec_send_frame(encoder_.get(), frame), QStringLiteral("encoder"));
        const Owned<AVPacket> packet(ffmpeg::av_packet_alloc());
        while (ffmpeg::avcodec_receive_packet(encoder_.get(), packet.get()) >= 0) {
            packet->stream_index = 0;
            // FLAC and ALAC tell their final header with an empty packet at the end.
            ffmpeg::av_packet_rescale_ts(packet.get(), encoder_->time_base,
                                         format_->streams[0]->time_base);
            check(ffmpeg::av_interleaved_write_frame(format_.get(), packet.get()),
                  QStringLiteral("samples"));
        }
    }

    Recipe recipe_;
    int channels_;
    Owned<AVFormatContext> format_;
    Owned<AVCodecContext> encoder_;
};

}  // namespace

void writeAudioFile(const FileUrl& url, AudioFileType type, std::span<const float> samples,
                    int sampleRate, int channels, const AudioFileTags& tags) {
    ffmpeg::load();
    Writer(url, recipeOf(type), sampleRate, channels, tags).write(samples);
}

}  // namespace halvenor
