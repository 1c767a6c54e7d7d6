#include "platform/audio/FormatConverter.h"

#include <algorithm>

#include "base/Error.h"
#include "platform/ffmpeg/FFmpeg.h"

namespace halvenor {

namespace {

[[noreturn]] void throwUnsupported() {
    throw Error(ErrorKind::unsupported,
                QStringLiteral("The sample format can't be converted for the output."));
}

/// A down-mix of the usual layouts of so many channels, scaled so that no channel exceeds 1.
std::vector<float> downmixMatrix(int from, int to) {
    AVChannelLayout fromLayout{};
    AVChannelLayout toLayout{};
    ffmpeg::av_channel_layout_default(&fromLayout, from);
    ffmpeg::av_channel_layout_default(&toLayout, to);
    // The function walks over all 64 channels there could be and writes as it goes, so it gets room
    // for them whatever the layouts are.
    constexpr int most = 64;
    std::vector<double> matrix(most * most);
    constexpr double minus3dB = 0.70710678118654752;
    const bool isKnown =
        fromLayout.order != AV_CHANNEL_ORDER_UNSPEC && toLayout.order != AV_CHANNEL_ORDER_UNSPEC &&
        ffmpeg::swr_build_matrix2(&fromLayout, &toLayout, minus3dB, minus3dB, 0, 1.0, 1.0,
                                  matrix.data(), most, AV_MATRIX_ENCODING_NONE, nullptr) >= 0;
    std::vector<float> factors(static_cast<size_t>(from) * to);
    for (int out = 0; out < to; ++out) {
        for (int in = 0; in < from; ++in) {
            // Without a usual layout the first channels stay and the rest is left out.
            const double other = in == out ? 1.0 : 0.0;
            factors[static_cast<size_t>(out) * from + in] =
                static_cast<float>(isKnown ? matrix[out * most + in] : other);
        }
    }
    return factors;
}

}  // namespace

class FormatConverter::Resampler {
  public:
    Resampler(int fromRate, int toRate, int channels) : channels_(channels) {
        AVChannelLayout layout{};
        layout.order = AV_CHANNEL_ORDER_UNSPEC;
        layout.nb_channels = channels;
        if (ffmpeg::swr_alloc_set_opts2(&context_, &layout, AV_SAMPLE_FMT_FLT, toRate, &layout,
                                        AV_SAMPLE_FMT_FLT, fromRate, 0, nullptr) < 0) {
            throwUnsupported();
        }
        ffmpeg::av_opt_set(context_, "resampler", "soxr", 0);
        if (ffmpeg::swr_init(context_) < 0) {
            ffmpeg::swr_free(&context_);
            throwUnsupported();
        }
    }
    ~Resampler() { ffmpeg::swr_free(&context_); }
    Resampler(const Resampler&) = delete;
    Resampler& operator=(const Resampler&) = delete;

    /// @param samples null drains
    /// @return frames that came out
    int64_t run(const float* samples, int64_t frames, std::vector<float>& output) {
        const int room = ffmpeg::swr_get_out_samples(context_, static_cast<int>(frames)) + 64;
        const size_t before = output.size();
        output.resize(before + static_cast<size_t>(room) * channels_);
        auto* out = reinterpret_cast<uint8_t*>(output.data() + before);
        const auto* in = reinterpret_cast<const uint8_t*>(samples);
        const int given =
            std::max(0, ffmpeg::swr_convert(context_, &out, room, samples ? &in : nullptr,
                                            static_cast<int>(frames)));
        output.resize(before + static_cast<size_t>(given) * channels_);
        return given;
    }

  private:
    SwrContext* context_ = nullptr;
    int channels_;
};

FormatConverter::FormatConverter(AudioFormat from, AudioFormat to) : from_(from), to_(to) {
    if (from.sampleRate <= 0 || from.channels <= 0) {
        throwUnsupported();
    }
    ffmpeg::load();
    if (from.channels > to.channels) {
        matrix_ = downmixMatrix(from.channels, to.channels);
    }
    if (from.sampleRate != to.sampleRate) {
        resampler_ = std::make_unique<Resampler>(from.sampleRate, to.sampleRate, to.channels);
    }
}

FormatConverter::~FormatConverter() = default;

void FormatConverter::mix(const float* samples, int64_t frames, std::vector<float>& output) const {
    const size_t before = output.size();
    output.resize(before + static_cast<size_t>(frames) * to_.channels);
    float* out = output.data() + before;
    for (int64_t i = 0; i < frames; ++i, samples += from_.channels, out += to_.channels) {
        if (!matrix_.empty()) {
            const float* factor = matrix_.data();
            for (int channel = 0; channel < to_.channels; ++channel) {
                float sum = 0;
                for (int source = 0; source < from_.channels; ++source) {
                    sum += *factor++ * samples[source];
                }
                out[channel] = sum;
            }
            continue;
        }
        std::copy_n(samples, from_.channels, out);
        if (from_.channels == 1 && to_.channels > 1) {
            out[1] = samples[0];
        }
    }
}

void FormatConverter::convert(const float* samples, int64_t frames, std::vector<float>& output) {
    if (!resampler_) {
        mix(samples, frames, output);
        return;
    }
    if (from_.channels != to_.channels) {
        mixed_.clear();
        mix(samples, frames, mixed_);
        samples = mixed_.data();
    }
    resampler_->run(samples, frames, output);
}

void FormatConverter::drain(std::vector<float>& output) {
    while (resampler_ && resampler_->run(nullptr, 0, output) > 0) {
    }
}

}  // namespace halvenor
