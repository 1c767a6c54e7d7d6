#include <array>
#include <cmath>
#include <cstring>
#include <optional>

#include "base/Error.h"
#include "platform/decode/AudioSpecificConfig.h"
#include "platform/decode/StreamLayout.h"

// MP4 (ISO 14496-12, -14). How long the music is, told in three ways of falling trust: the
// encoder's own note of delay and length (iTunSMPB); the sum of the samples' durations, from where
// the edit list begins; and the edit list's length, which is in the movie's coarser time scale and
// so cuts only when it differs from that sum by more than its rounding.

namespace halvenor {

namespace {

constexpr int maximalBoxes = 20000;
constexpr int64_t maximalStreams = 64;

struct Box {
    std::array<uint8_t, 4> type{};
    int64_t body = 0;
    int64_t end = 0;

    bool is(const char (&code)[5]) const { return isCode(type.data(), code); }
    int64_t size() const { return end - body; }
};

/// Steps through the boxes of one level. A box that claims more than its parent ends with it.
class Boxes {
  public:
    Boxes(ByteSource& bytes, int64_t begin, int64_t end) : bytes_(bytes), at_(begin), end_(end) {}

    std::optional<Box> next() {
        std::array<uint8_t, 16> head;
        if (end_ - at_ < 8 || ++count_ > maximalBoxes ||
            !bytes_.readFully(at_, std::span(head).first(8))) {
            return std::nullopt;
        }
        Box box;
        std::copy_n(&head[4], 4, box.type.begin());
        int64_t size = be32(head.data());
        int64_t header = 8;
        if (size == 1 && bytes_.readFully(at_, head)) {
            size = static_cast<int64_t>(be64(&head[8]) & INT64_MAX);
            header = 16;
        }
        if (size == 0 || size > end_ - at_) {
            size = end_ - at_;
        }
        if (size < header) {
            return std::nullopt;
        }
        box.body = at_ + header;
        box.end = at_ + size;
        at_ = box.end;
        return box;
    }

  private:
    ByteSource& bytes_;
    int64_t at_;
    int64_t end_;
    int count_ = 0;
};

std::optional<Box> child(ByteSource& bytes, const Box& parent, const char (&code)[5],
                         int64_t skip = 0) {
    Boxes boxes(bytes, parent.body + skip, parent.end);
    while (const auto box = boxes.next()) {
        if (box->is(code)) {
            return box;
        }
    }
    return std::nullopt;
}

/// A full box's version and the fields behind it, up to N bytes; absent when shorter than `least`.
template <size_t N>
std::optional<std::array<uint8_t, N>> content(ByteSource& bytes, const Box& box, size_t least) {
    std::array<uint8_t, N> raw{};
    const auto wanted = static_cast<size_t>(std::min<int64_t>(box.size(), int64_t{N}));
    if (wanted < least || !bytes.readFully(box.body, std::span(raw).first(wanted))) {
        return std::nullopt;
    }
    return raw;
}

struct Times {
    int64_t scale = 0;     ///< units a second
    int64_t duration = 0;  ///< in units
};

/// mvhd and mdhd begin alike.
Times readTimes(ByteSource& bytes, const Box& box) {
    const auto raw = content<32>(bytes, box, 20);
    if (!raw) {
        return {};
    }
    const uint8_t* p = raw->data();
    if (p[0] == 1) {
        return {be32(p + 20), static_cast<int64_t>(be64(p + 24) & INT64_MAX)};
    }
    return {be32(p + 12), be32(p + 16)};
}

/// Calls `use` with each entry of a table of `entryBytes` bytes behind `headerBytes` bytes, of
/// which the last four are the number of entries. Reads in pieces.
template <typename Use>
void forEachEntry(ByteSource& bytes, const Box& box, int64_t headerBytes, int64_t entryBytes,
                  Use use) {
    std::array<uint8_t, 4> number;
    if (box.size() < headerBytes || !bytes.readFully(box.body + headerBytes - 4, number)) {
        return;
    }
    const int64_t told = be32(number.data());
    const int64_t there = (std::min(box.end, bytes.size()) - box.body - headerBytes) / entryBytes;
    std::vector<uint8_t> piece(static_cast<size_t>(entryBytes) * 1024);
    int64_t left = std::min(told, there);
    int64_t at = box.body + headerBytes;
    while (left > 0) {
        const int64_t entries = std::min<int64_t>(left, 1024);
        const auto part = std::span(piece).first(static_cast<size_t>(entries * entryBytes));
        if (!bytes.readFully(at, part)) {
            return;
        }
        for (int64_t i = 0; i < entries; ++i) {
            use(&part[static_cast<size_t>(i * entryBytes)]);
        }
        at += entries * entryBytes;
        left -= entries;
    }
}

/// The first edit that shows something of the track.
struct Edit {
    int64_t start = 0;     ///< in the track's units
    int64_t duration = 0;  ///< in the movie's units
    int shown = 0;         ///< how many edits show something
};

Edit readEdits(ByteSource& bytes, const Box& elst) {
    Edit edit;
    const auto head = content<8>(bytes, elst, 8);
    const bool isLong = head && (*head)[0] == 1;
    forEachEntry(bytes, elst, 8, isLong ? 20 : 12, [&](const uint8_t* p) {
        const int64_t duration = isLong ? static_cast<int64_t>(be64(p) & INT64_MAX) : be32(p);
        const int64_t start =
            isLong ? static_cast<int64_t>(be64(p + 8)) : static_cast<int32_t>(be32(p + 4));
        if (start >= 0 && edit.shown++ == 0) {
            edit.start = start;
            edit.duration = duration;
        }
    });
    return edit;
}

/// What the encoder noted: " 00000000 PRIMING PADDING LENGTH ...", in hexadecimal.
struct EncoderNote {
    int64_t priming = 0;
    int64_t padding = 0;
    int64_t frames = 0;
};

std::optional<EncoderNote> parseNote(std::string_view text) {
    std::array<uint64_t, 4> fields{};
    size_t at = 0;
    for (uint64_t& field : fields) {
        while (at < text.size() && text[at] == ' ') {
            ++at;
        }
        size_t digits = 0;
        while (at < text.size() && std::isxdigit(static_cast<unsigned char>(text[at])) != 0) {
            const char c = text[at++];
            const int digit = c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
            field = field << 4 | static_cast<uint64_t>(digit);
            ++digits;
        }
        if (digits == 0 || digits > 16) {
            return std::nullopt;
        }
    }
    constexpr uint64_t limit = uint64_t{1} << 48;
    if (fields[1] > limit || fields[2] > limit || fields[3] > limit || fields[3] == 0) {
        return std::nullopt;
    }
    return EncoderNote{static_cast<int64_t>(fields[1]), static_cast<int64_t>(fields[2]),
                       static_cast<int64_t>(fields[3])};
}

std::optional<EncoderNote> findNote(ByteSource& bytes, const Box& moov) {
    const auto udta = child(bytes, moov, "udta");
    const auto meta = udta ? child(bytes, *udta, "meta") : std::nullopt;
    const auto ilst = meta ? child(bytes, *meta, "ilst", 4) : std::nullopt;
    if (!ilst) {
        return std::nullopt;
    }
    Boxes items(bytes, ilst->body, ilst->end);
    while (const auto item = items.next()) {
        if (!item->is("----")) {
            continue;
        }
        const auto name = child(bytes, *item, "name");
        const auto data = child(bytes, *item, "data");
        const auto nameText = name ? content<12>(bytes, *name, 12) : std::nullopt;
        if (!data || !nameText || std::memcmp(nameText->data() + 4, "iTunSMPB", 8) != 0) {
            continue;
        }
        const auto text = content<96>(bytes, *data, 8);
        if (text) {
            const auto size = static_cast<size_t>(std::min<int64_t>(data->size(), 96)) - 8;
            return parseNote({reinterpret_cast<const char*>(text->data()) + 8, size});
        }
    }
    return std::nullopt;
}

/// The first sound track, as far as lengths go.
struct SoundTrack {
    Times media;
    int64_t duration = 0;  ///< of all samples, in the media's units
    int64_t bytes = 0;     ///< of all samples
    std::optional<Edit> edit;
    Box stsd;
};

bool isSound(ByteSource& bytes, const Box& mdia) {
    const auto hdlr = child(bytes, mdia, "hdlr");
    const auto raw = hdlr ? content<12>(bytes, *hdlr, 12) : std::nullopt;
    return raw && isCode(raw->data() + 8, "soun");
}

std::optional<SoundTrack> readTrack(ByteSource& bytes, const Box& trak) {
    const auto mdia = child(bytes, trak, "mdia");
    if (!mdia || !isSound(bytes, *mdia)) {
        return std::nullopt;
    }
    const auto mdhd = child(bytes, *mdia, "mdhd");
    const auto minf = child(bytes, *mdia, "minf");
    const auto stbl = minf ? child(bytes, *minf, "stbl") : std::nullopt;
    const auto stsd = stbl ? child(bytes, *stbl, "stsd") : std::nullopt;
    if (!mdhd || !stsd) {
        return std::nullopt;
    }
    SoundTrack track;
    track.media = readTimes(bytes, *mdhd);
    track.stsd = *stsd;
    if (const auto stts = child(bytes, *stbl, "stts")) {
        forEachEntry(bytes, *stts, 8, 8, [&](const uint8_t* p) {
            constexpr int64_t limit = int64_t{1} << 60;
            const int64_t part = int64_t{be32(p)} * (be32(p + 4) & 0x7fffffff);
            track.duration = std::min(limit, track.duration + std::min(part, limit));
        });
    }
    if (const auto stsz = child(bytes, *stbl, "stsz")) {
        const auto head = content<12>(bytes, *stsz, 12);
        const int64_t same = head ? be32(head->data() + 4) : 0;
        const int64_t count = head ? be32(head->data() + 8) : 0;
        if (same == 0) {
            forEachEntry(bytes, *stsz, 12, 4, [&](const uint8_t* p) { track.bytes += be32(p); });
        } else {
            // No more than there can be, however many are claimed.
            track.bytes = same * std::min(count, bytes.size() / same);
        }
    }
    const auto edts = child(bytes, trak, "edts");
    if (const auto elst = edts ? child(bytes, *edts, "elst") : std::nullopt) {
        const Edit edit = readEdits(bytes, *elst);
        if (edit.shown > 0) {
            track.edit = edit;
        }
    }
    return track;
}

/// Decoder configuration inside an MPEG-4 descriptor: the descriptors are nested, each a tag, a
/// length in steps of seven bits, and its content.
std::vector<uint8_t> specificConfig(ByteSource& bytes, const Box& esds, int& objectType) {
    std::vector<uint8_t> raw(static_cast<size_t>(std::clamp<int64_t>(esds.size(), 0, 1024)));
    raw.resize(static_cast<size_t>(bytes.read(esds.body, raw)));
    size_t at = 4;
    const auto open = [&](uint8_t tag) -> std::optional<size_t> {
        if (at >= raw.size() || raw[at] != tag) {
            return std::nullopt;
        }
        ++at;
        size_t length = 0;
        for (int i = 0; i < 4 && at < raw.size(); ++i) {
            const uint8_t byte = raw[at++];
            length = length << 7 | (byte & 0x7fu);
            if ((byte & 0x80) == 0) {
                break;
            }
        }
        return length;
    };
    if (open(3) && at + 3 <= raw.size()) {
        const uint8_t flags = raw[at + 2];
        at += 3;
        at += (flags & 0x80) != 0 ? 2 : 0;
        at += (flags & 0x40) != 0 && at < raw.size() ? 1 + raw[at] : 0;
        at += (flags & 0x20) != 0 ? 2 : 0;
    }
    if (open(4) && at + 13 <= raw.size()) {
        objectType = raw[at];
        at += 13;
        if (const auto length = open(5)) {
            const size_t end = std::min(raw.size(), at + *length);
            return {raw.begin() + static_cast<ptrdiff_t>(std::min(at, end)),
                    raw.begin() + static_cast<ptrdiff_t>(end)};
        }
    }
    return {};
}

/// Format from the sample description, into `layout`.
void readDescription(ByteSource& bytes, const Box& stsd, StreamLayout& layout) {
    Boxes entries(bytes, stsd.body + 8, stsd.end);
    const auto entry = entries.next();
    const auto raw = entry ? content<64>(bytes, *entry, 28) : std::nullopt;
    if (!raw) {
        throwNotAudio(stsd.body);
    }
    const uint8_t* p = raw->data();
    const int version = static_cast<int>(be16(p + 8));
    layout.format = {static_cast<int>(be32(p + 24) >> 16), static_cast<int>(be16(p + 16))};
    if (version == 2) {
        uint64_t bits = be64(p + 32);
        double rate = 0;
        std::memcpy(&rate, &bits, sizeof rate);
        layout.format = {rate >= 1 && rate < 1e6 ? static_cast<int>(std::lround(rate)) : 0,
                         static_cast<int>(std::min<uint32_t>(be32(p + 40), 1000))};
    }
    const int64_t skip = 28 + (version == 1 ? 16 : version == 2 ? 36 : 0);
    const auto wave = child(bytes, *entry, "wave", skip);
    const auto inside = [&](const char(&code)[5]) {
        const auto box = child(bytes, *entry, code, skip);
        return box || !wave ? box : child(bytes, *wave, code);
    };
    if (entry->is("alac")) {
        const auto box = inside("alac");
        if (const auto cookie = box ? content<28>(bytes, *box, 28) : std::nullopt) {
            layout.format = {
                static_cast<int>(std::min<uint32_t>(be32(cookie->data() + 24), 1u << 30)),
                (*cookie)[13]};
        }
    } else if (const auto esds = inside("esds")) {
        int objectType = 0;
        const auto config = specificConfig(bytes, *esds, objectType);
        const bool isAac = objectType == 0x40 || (objectType >= 0x66 && objectType <= 0x68);
        const auto told = isAac ? parseAudioSpecificConfig(config) : std::nullopt;
        if (told) {
            layout.format = told->format;
            layout.isFormatHidden = told->isFormatHidden;
        }
    }
}

void settleLength(const SoundTrack& track, const Times& movie, std::optional<EncoderNote> note,
                  StreamLayout& layout) {
    const int64_t scale = track.media.scale;
    int64_t origin = track.edit ? track.edit->start : 0;
    int64_t length = track.duration - origin;
    if (note && note->priming + note->frames <= track.duration) {
        origin = note->priming;
        length = note->frames;
    } else if (track.edit && track.edit->shown == 1 && track.edit->duration > 0 &&
               movie.scale > 0) {
        const double edited = double(track.edit->duration) * double(scale) / double(movie.scale);
        const double rounding = double(scale) / double(movie.scale) + 1;
        if (edited < double(length) - rounding) {
            length = std::llround(edited);
        }
    }
    layout.isExact = track.duration > 0;
    if (!layout.isExact) {
        length = track.media.duration;  // In fragments; they tell their own durations.
    }
    const auto toFrames = [&](int64_t units) {
        return scale == layout.format.sampleRate
                   ? units
                   : std::llround(double(units) * layout.format.sampleRate / double(scale));
    };
    layout.origin = toFrames(origin);
    layout.frames = toFrames(length);
    if (track.duration > 0) {
        layout.dataRate = 8.0 * double(track.bytes) * double(scale) / double(track.duration);
    }
}

}  // namespace

StreamLayout readMp4(ByteSource& bytes, int64_t begin) {
    const auto moov = child(bytes, Box{{}, begin, bytes.size()}, "moov");
    if (!moov) {
        throwNotAudio(begin);
    }
    std::optional<SoundTrack> track;
    Times movie;
    Boxes boxes(bytes, moov->body, moov->end);
    int64_t streams = 0;
    while (const auto box = boxes.next()) {
        if (box->is("mvhd")) {
            movie = readTimes(bytes, *box);
        } else if (box->is("trak") && !track && ++streams <= maximalStreams) {
            track = readTrack(bytes, *box);
        }
    }
    if (!track || track->media.scale == 0) {
        throw Error(ErrorKind::unsupported, QStringLiteral("The file holds no audio."), moov->body);
    }
    StreamLayout layout;
    readDescription(bytes, track->stsd, layout);
    settleLength(*track, movie, findNote(bytes, *moov), layout);
    layout.audioEnd = bytes.size();
    return layout;
}

}  // namespace halvenor
