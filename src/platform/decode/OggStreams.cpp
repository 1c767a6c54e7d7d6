#include <cstring>

#include "base/Error.h"
#include "platform/decode/Ogg.h"
#include "platform/decode/StreamLayout.h"
#include "platform/ffmpeg/FFmpeg.h"

// Vorbis, Opus and FLAC in Ogg. Granule positions count frames: the one of the last page is the
// end, and that of the first page less what its packets decode to is the beginning (0, but for
// streams cut out of others).

namespace halvenor {

namespace {

constexpr int maximalStreams = 32;
constexpr size_t maximalHeaderBytes = 1 << 20;

bool startsWith(const std::vector<uint8_t>& data, std::string_view text) {
    return data.size() >= text.size() && std::memcmp(data.data(), text.data(), text.size()) == 0;
}

enum class OggCodec { vorbis, opus, flac };

std::optional<OggCodec> codecOf(const std::vector<uint8_t>& head) {
    if (startsWith(head, "\x01vorbis") && head.size() >= 30) {
        return OggCodec::vorbis;
    }
    if (startsWith(head, "OpusHead") && head.size() >= 19) {
        return OggCodec::opus;
    }
    if (startsWith(head,
                   "\x7f"
                   "FLAC") &&
        head.size() >= 51) {
        return OggCodec::flac;
    }
    return std::nullopt;
}

/// Frames that an Opus packet decodes to (RFC 6716, 3.1), at 48 kHz.
int64_t opusDuration(const std::vector<uint8_t>& packet) {
    if (packet.empty()) {
        return 0;
    }
    const int configuration = packet[0] >> 3;
    constexpr std::array<int, 4> silk = {480, 960, 1920, 2880};
    const int frame = configuration < 12   ? silk[static_cast<size_t>(configuration & 3)]
                      : configuration < 16 ? 480 << (configuration & 1)
                                           : 120 << (configuration & 3);
    const int code = packet[0] & 3;
    const int count = code == 0 ? 1 : code != 3 ? 2 : packet.size() > 1 ? packet[1] & 63 : 0;
    return int64_t{frame} * count;
}

/// Tells what packets decode to, in frames.
class DurationMeter {
  public:
    DurationMeter(OggCodec codec, const std::vector<uint8_t>& extradata) : codec_(codec) {
        if (codec == OggCodec::vorbis) {
            ffmpeg::load();
            vorbis_ =
                ffmpeg::av_vorbis_parse_init(extradata.data(), static_cast<int>(extradata.size()));
            if (vorbis_ == nullptr) {
                throwNotAudio(0);
            }
        }
    }
    ~DurationMeter() { ffmpeg::av_vorbis_parse_free(&vorbis_); }
    DurationMeter(const DurationMeter&) = delete;
    DurationMeter& operator=(const DurationMeter&) = delete;

    int64_t add(const std::vector<uint8_t>& packet) {
        if (codec_ == OggCodec::opus) {
            return opusDuration(packet);
        }
        if (packet.empty()) {
            return 0;
        }
        const int duration =
            ffmpeg::av_vorbis_parse_frame(vorbis_, packet.data(), static_cast<int>(packet.size()));
        // The first packet only fills the window.
        return std::exchange(isFirst_, false) ? 0 : std::max(duration, 0);
    }

  private:
    OggCodec codec_;
    AVVorbisParseContext* vorbis_ = nullptr;
    bool isFirst_ = true;
};

/// The three headers in one piece, their lengths in front in steps of 255. Comments are left out:
/// a decoder doesn't need them, and covers make them large.
std::vector<uint8_t> vorbisExtradata(const std::vector<uint8_t>& identification,
                                     const std::vector<uint8_t>& setup) {
    const std::vector<uint8_t> comments = {3, 'v', 'o', 'r', 'b', 'i', 's', 0,
                                           0, 0,   0,   0,   0,   0,   0,   1};
    std::vector<uint8_t> all = {2};
    for (const auto* packet : {&identification, &comments}) {
        all.insert(all.end(), packet->size() / 255, 255);
        all.push_back(static_cast<uint8_t>(packet->size() % 255));
    }
    for (const auto* packet : {&identification, &comments, &setup}) {
        all.insert(all.end(), packet->begin(), packet->end());
    }
    return all;
}

struct Found {
    OggCodec codec;
    OggPage page;
    std::vector<uint8_t> head;
};

/// The first audio stream of those that begin together.
Found findAudio(ByteSource& bytes, int64_t begin) {
    int64_t at = begin;
    for (int streams = 0; streams < maximalStreams; ++streams) {
        const auto page = findOggPage(bytes, at, at + 1);
        if (!page || !page->isFirst) {
            break;
        }
        OggPacketReader reader(bytes, page->serial, page->offset);
        if (auto packet = reader.next(maximalHeaderBytes)) {
            if (const auto codec = codecOf(packet->data)) {
                return {*codec, *page, std::move(packet->data)};
            }
        }
        at = page->end();
    }
    throw Error(ErrorKind::unsupported,
                QStringLiteral("The file holds no audio in a format that can be played."), at);
}

/// Reads the rest of the headers. The page behind them is where the audio begins.
void readHeaders(ByteSource& bytes, const Found& found, StreamLayout& layout) {
    OggPacketReader reader(bytes, found.page.serial, found.page.offset);
    reader.next(maximalHeaderBytes);
    if (found.codec == OggCodec::flac) {
        // Each metadata block is a packet of its own; the last one is marked.
        for (int blocks = 0; blocks < 1000; ++blocks) {
            const auto packet = reader.next(4);
            const bool isBlock = packet && !packet->data.empty() && packet->data[0] != 0xff;
            if (!isBlock || (packet->data[0] & 0x80) != 0) {
                break;
            }
        }
        const uint8_t* info = &found.head[17];
        layout.extradata.assign(info, info + 34);
        layout.decoder = "flac";
        layout.format = {static_cast<int>(be24(info + 10) >> 4), (info[12] >> 1 & 7) + 1};
    } else {
        reader.next(0);
        if (found.codec == OggCodec::vorbis) {
            const auto setup = reader.next(maximalHeaderBytes);
            if (!setup || !startsWith(setup->data, "\x05vorbis")) {
                throwNotAudio(found.page.offset);
            }
            layout.extradata = vorbisExtradata(found.head, setup->data);
            layout.decoder = "vorbis";
            const auto rate = std::min<uint32_t>(le32(&found.head[12]), 1u << 30);
            layout.format = {static_cast<int>(rate), found.head[11]};
        } else {
            layout.extradata = found.head;
            layout.decoder = "libopus";
            layout.format = {48000, found.head[9]};
        }
    }
    layout.oggBegin = reader.nextPageOffset();
}

/// Position of the stream's first frame.
int64_t firstPosition(ByteSource& bytes, OggCodec codec, const StreamLayout& layout) {
    if (codec == OggCodec::flac) {
        return 0;
    }
    DurationMeter meter(codec, layout.extradata);
    OggPacketReader reader(bytes, layout.oggSerial, layout.oggBegin);
    int64_t duration = 0;
    for (int packets = 0; packets < 4096; ++packets) {
        const auto packet = reader.next();
        if (!packet) {
            break;
        }
        duration += meter.add(packet->data);
        if (packet->granule) {
            // A stream of a single page begins at 0 and is cut at its end.
            return packet->isLastOfStream ? 0 : *packet->granule - duration;
        }
    }
    return 0;
}

}  // namespace

StreamLayout readOgg(ByteSource& bytes, int64_t begin) {
    const Found found = findAudio(bytes, begin);
    StreamLayout layout;
    layout.oggSerial = found.page.serial;
    readHeaders(bytes, found, layout);
    layout.firstFrame = firstPosition(bytes, found.codec, layout);
    layout.origin = std::max<int64_t>(layout.firstFrame, 0);
    if (found.codec == OggCodec::opus) {
        layout.origin += le16(&found.head[10]);
    }
    layout.audioBegin = layout.oggBegin;
    layout.audioEnd = bytes.size();
    const auto last = findLastOggPage(bytes, layout.oggBegin, bytes.size(), layout.oggSerial);
    if (last) {
        layout.frames = last->granule - layout.origin;
        layout.isExact = true;
        layout.audioEnd = last->end();
    }
    if (layout.frames > 0) {
        layout.dataRate = 8.0 * double(layout.audioEnd - layout.audioBegin) *
                          layout.format.sampleRate / double(layout.frames);
    }
    return layout;
}

}  // namespace halvenor
