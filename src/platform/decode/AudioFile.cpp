#include "platform/decode/AudioFile.h"

#include <cstring>

#include "base/Error.h"
#include "platform/decode/DecodedFile.h"
#include "platform/ffmpeg/FFmpeg.h"

namespace halvenor {

namespace {

/// A hole that is told to be longer than this is a wrong telling, in seconds.
constexpr int64_t longestHole = 600;
/// How far a place may be off while frames are converted to another rate, in frames.
constexpr int64_t conversionSlack = 8192;
/// Packets looked into for the first decoded frame.
constexpr int revealingPackets = 32;

}  // namespace

void AudioFile::prepare() {
    ffmpeg::load();
}

std::shared_ptr<AudioFile> AudioFile::open(const FileUrl& url) {
    return std::make_shared<DecodedFile>(std::make_shared<FileBytes>(url));
}

void revealFormat(const std::shared_ptr<ByteSource>& bytes, StreamLayout& layout) {
    const auto packets = makePacketSource(bytes, layout);
    Decoder decoder(packets->parameters(), layout.decoder);
    const LavPtr<AVPacket> packet(ffmpeg::av_packet_alloc());
    SampleBlock block;
    for (int i = 0; i < revealingPackets && block.frames == 0; ++i) {
        if (!packet || !packets->next(*packet)) {
            break;
        }
        decoder.decode(packet.get(), block);
    }
    if (block.frames == 0 || layout.format.sampleRate <= 0) {
        throwNotAudio(layout.audioBegin);
    }
    const int64_t from = layout.format.sampleRate;
    layout.format = decoder.format();
    layout.isFormatHidden = false;
    layout.frames = layout.frames * layout.format.sampleRate / from;
    layout.origin = layout.origin * layout.format.sampleRate / from;
}

DecodedFile::DecodedFile(std::shared_ptr<ByteSource> bytes) : packet_(ffmpeg::av_packet_alloc()) {
    layout_ = readStreamLayout(*bytes);
    if (layout_.isFormatHidden) {
        revealFormat(bytes, layout_);
    }
    packets_ = makePacketSource(std::move(bytes), layout_);
    decoder_ = std::make_unique<Decoder>(packets_->parameters(), layout_.decoder);
    decoder_->setFormat(layout_.format);
    cursor_ = layout_.firstFrame - layout_.origin;
}

bool DecodedFile::isSeekExact() const {
    if (!layout_.isExact) {
        return false;  // The format changes within, so positions are rounded.
    }
    switch (layout_.container) {
        case Container::mpegAudio:
        case Container::flac:
            return true;
        case Container::wave:
        case Container::aiff:
            return layout_.bytesPerFrame > 0;
        case Container::ogg:
            return layout_.decoder != "libopus";
        case Container::mp4:
            return packets_->parameters().codec_id == AV_CODEC_ID_ALAC;
        case Container::adts:
            return false;
    }
    return false;
}

void DecodedFile::seek(int64_t frame) {
    frame = std::max<int64_t>(frame, 0);
    const bool isInBlock = frame >= blockBegin_ && frame < blockBegin_ + block_.frames;
    position_ = frame;
    if (isInBlock) {
        return;
    }
    block_.clear();
    isAtEnd_ = layout_.isExact && frame >= layout_.frames;
    if (isAtEnd_) {
        return;
    }
    cursor_ = packets_->seek(frame + layout_.origin);
    if (cursor_) {
        *cursor_ -= layout_.origin;
    }
    decoder_->reset();
}

int64_t DecodedFile::read(float* samples, int64_t frames) {
    const auto channels = static_cast<size_t>(layout_.format.channels);
    int64_t given = 0;
    while (given < frames) {
        int64_t wanted = frames - given;
        if (layout_.isExact) {
            wanted = std::min(wanted, layout_.frames - position_);
        }
        if (wanted <= 0) {
            break;
        }
        if (position_ >= blockBegin_ + block_.frames || block_.frames == 0) {
            if (!fetch()) {
                break;
            }
            continue;
        }
        float* to = samples + static_cast<size_t>(given) * channels;
        const int64_t part =
            position_ < blockBegin_ ? giveSilence(to, wanted) : giveBlock(to, wanted);
        given += part;
        position_ += part;
    }
    return given;
}

int64_t DecodedFile::giveSilence(float* samples, int64_t frames) {
    const int64_t part = std::min(frames, blockBegin_ - position_);
    std::fill_n(samples, part * layout_.format.channels, 0.0f);
    return part;
}

int64_t DecodedFile::giveBlock(float* samples, int64_t frames) {
    const int64_t skipped = position_ - blockBegin_;
    const int64_t part = std::min(frames, block_.frames - skipped);
    const auto channels = static_cast<size_t>(layout_.format.channels);
    std::memcpy(samples, block_.samples.data() + static_cast<size_t>(skipped) * channels,
                sizeof(float) * static_cast<size_t>(part) * channels);
    return part;
}

bool DecodedFile::fetch() {
    if (isAtEnd_) {
        return false;
    }
    block_.clear();
    const auto told = packets_->next(*packet_);
    if (!told) {
        isAtEnd_ = true;
        decoder_->decode(nullptr, block_);
        place({});
        return block_.frames > 0;
    }
    decoder_->decode(packet_.get(), block_);
    place(*told);
    return true;
}

void DecodedFile::place(const PacketPlace& told) {
    if (told.isAfterLoss) {
        cursor_.reset();
    }
    std::optional<int64_t> begin = cursor_;
    if (told.begin) {
        begin = *told.begin - layout_.origin;
    } else if (told.end && !(told.isCut && cursor_)) {
        begin = *told.end - layout_.origin - block_.frames;
    }
    if (cursor_ && begin) {
        const int64_t hole = *begin - *cursor_;
        const bool isRounding = decoder_->isConverting() && std::abs(hole) < conversionSlack;
        if (isRounding || hole > longestHole * layout_.format.sampleRate) {
            begin = cursor_;
        }
    }
    if (!begin) {
        block_.clear();
        return;
    }
    blockBegin_ = *begin;
    cursor_ = *begin + block_.frames;
}

}  // namespace halvenor
