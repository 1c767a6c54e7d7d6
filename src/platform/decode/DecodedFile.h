#pragma once

#include "platform/decode/AudioFile.h"
#include "platform/decode/PacketSource.h"

namespace halvenor {

/// An AudioFile over packets and a decoder: cuts encoder delay and padding, keeps the count of
/// frames right over damage, and hides pre-roll.
class DecodedFile final : public AudioFile {
  public:
    /// @throws Error (format or unsupported)
    explicit DecodedFile(std::shared_ptr<ByteSource> bytes);

    AudioFormat processingFormat() const override { return layout_.format; }
    int64_t length() const override { return layout_.frames; }
    bool isLengthExact() const override { return layout_.isExact; }
    bool isSeekExact() const override;
    void seek(int64_t frame) override;
    int64_t read(float* samples, int64_t frames) override;

    const StreamLayout& layout() const { return layout_; }

  private:
    bool fetch();
    void place(const PacketPlace& place);
    int64_t giveSilence(float* samples, int64_t frames);
    int64_t giveBlock(float* samples, int64_t frames);

    StreamLayout layout_;
    std::unique_ptr<PacketSource> packets_;
    std::unique_ptr<Decoder> decoder_;
    LavPtr<AVPacket> packet_;

    // All in frames of the file, so the decoder's less the origin.
    int64_t position_ = 0;           ///< what read() gives next
    SampleBlock block_;              ///< what was decoded last
    int64_t blockBegin_ = 0;         ///< where that begins
    std::optional<int64_t> cursor_;  ///< where the next decoded frame belongs; unknown after a seek
    bool isAtEnd_ = false;
};

/// Decodes the first packet to learn what the headers don't tell, and sets the layout right:
/// format, and lengths at its rate. @throws Error (format or unsupported)
void revealFormat(const std::shared_ptr<ByteSource>& bytes, StreamLayout& layout);

}  // namespace halvenor
