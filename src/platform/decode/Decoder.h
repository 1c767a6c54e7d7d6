#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/decode/AudioFormat.h"
#include "platform/decode/StreamLayout.h"

struct AVCodecContext;
struct AVCodecParameters;
struct AVFrame;
struct AVPacket;

namespace halvenor {

/// Frees what libav* allocated.
struct LavDeleter {
    void operator()(AVCodecContext* context) const;
    void operator()(AVCodecParameters* parameters) const;
    void operator()(AVFrame* frame) const;
    void operator()(AVPacket* packet) const;
};
template <typename T>
using LavPtr = std::unique_ptr<T, LavDeleter>;

/// Decoder parameters made of a layout, for streams that no libavformat demuxer describes.
LavPtr<AVCodecParameters> codecParameters(const StreamLayout& layout);

/// Interleaved samples in a decoder's output format.
struct SampleBlock {
    std::vector<float> samples;
    int64_t frames = 0;

    void clear() {
        samples.clear();
        frames = 0;
    }
};

/// Packets to float samples through libavcodec. Nothing is cut off: encoder delay and padding are
/// the caller's business. Integer samples become floats exactly (value / full scale). Frames in
/// another format than the first are converted to that. One thread at a time.
class Decoder {
  public:
    /// @param decoderName name in libavcodec; empty takes what fits the parameters
    /// @throws Error (unsupported)
    Decoder(const AVCodecParameters& parameters, const std::string& decoderName);
    ~Decoder();
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    /// The format of output: settled by setFormat() or by the first frame.
    AudioFormat format() const { return format_; }
    void setFormat(AudioFormat format) { format_ = format; }

    /// Decodes one packet; null drains what the decoder holds back at the end. Appends to `block`.
    /// A damaged packet appends nothing.
    void decode(const AVPacket* packet, SampleBlock& block);
    /// Forgets everything, as if newly made: after a seek.
    void reset();
    /// Whether frames are being converted from another format: positions are then rounded.
    bool isConverting() const { return converter_ != nullptr; }

  private:
    class Converter;
    void open();
    void receiveAll(SampleBlock& block);
    void append(const AVFrame& frame, SampleBlock& block);

    LavPtr<AVCodecParameters> parameters_;
    std::string decoderName_;
    LavPtr<AVCodecContext> context_;
    LavPtr<AVFrame> frame_;
    AudioFormat format_;
    std::unique_ptr<Converter> converter_;
};

}  // namespace halvenor
