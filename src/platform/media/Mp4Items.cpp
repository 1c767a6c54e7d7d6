// The item list of MP4 files. Read here and not by TagLib, which sorts the items, keeps the bytes
// of number pairs to itself, and descends into nested atoms without a limit.
//
// An atom is a 32-bit big-endian size (1: a 64-bit one follows; 0: to the end of what holds it), a
// four-character code, and the payload. Each item of the list is an atom that holds "data" atoms:
// type of the value (32 bits), locale (32 bits), value.
#include <QStringDecoder>

#include <algorithm>
#include <array>
#include <functional>

#include "platform/media/TagLibBridge.h"
#include "platform/media/TagReaders.h"

namespace halvenor {

namespace {

constexpr auto format = MetadataFormat::mp4;
constexpr int64_t maximumTextBytes = 1 << 20;
constexpr int64_t maximumDataBytes = 256 << 20;
// Far above what any file has beside its audio.
constexpr int maximumAtoms = 100'000;

struct Range {
    int64_t begin;
    int64_t end;
};

struct Atom {
    uint32_t code;
    Range payload;
};

constexpr uint32_t code(const char (&letters)[5]) {
    uint32_t result = 0;
    for (int i = 0; i < 4; ++i) {
        result = result << 8 | static_cast<uint8_t>(letters[i]);
    }
    return result;
}

struct Mp4Name {
    uint32_t code;
    std::optional<CommonKey> commonKey;
};
constexpr Mp4Name mp4Names[] = {
    {code("\251nam"), CommonKey::title},
    {code("\251ART"), CommonKey::artist},
    {code("\251alb"), CommonKey::albumName},
    {code("\251gen"), CommonKey::type},
    {code("gnre"), CommonKey::type},
    {code("\251day"), CommonKey::creationDate},
    {code("covr"), CommonKey::artwork},
    {code("aART"), std::nullopt},
    {code("trkn"), std::nullopt},
};

// The types of values that matter here.
enum ValueType : uint32_t { binary = 0, utf8 = 1, utf16 = 2 };

class Mp4Reader {
  public:
    Mp4Reader(ByteSource& bytes, ItemSink& sink) : bytes_(bytes), sink_(sink) {}

    void read() {
        const auto movie = child({0, bytes_.size()}, code("moov"));
        const auto userData = movie ? child(*movie, code("udta")) : std::nullopt;
        auto meta = userData ? child(*userData, code("meta")) : std::nullopt;
        if (!meta && movie) {
            meta = child(*movie, code("meta"));
        }
        if (!meta) {
            return;
        }
        const auto list = child(metaContent(*meta), code("ilst"));
        if (list) {
            forEachAtom(*list, [this](const Atom& item) {
                addItem(item);
                return true;
            });
        }
    }

  private:
    // `visit(atom)` for each atom until it returns false, damage, or the end.
    template <class Visitor>
    void forEachAtom(Range range, Visitor visit) {
        for (int count = 0; range.begin + 8 <= range.end && count < maximumAtoms; ++count) {
            std::array<uint8_t, 16> header{};
            if (bytes_.read(range.begin, header) < 8) {
                return;
            }
            uint64_t size = be32(header.data());
            int64_t headerBytes = 8;
            if (size == 1) {
                size = be64(header.data() + 8);
                headerBytes = 16;
            } else if (size == 0) {
                size = static_cast<uint64_t>(range.end - range.begin);
            }
            if (size < static_cast<uint64_t>(headerBytes)) {
                return;
            }
            // One that claims more than there is may still hold what was meant to be in it.
            const auto room = static_cast<uint64_t>(range.end - range.begin);
            const int64_t end = range.begin + static_cast<int64_t>(std::min(size, room));
            const int64_t begin = std::min(range.begin + headerBytes, end);
            if (!visit(Atom{be32(header.data() + 4), {begin, end}})) {
                return;
            }
            range.begin = end;
        }
    }

    std::optional<Range> child(Range range, uint32_t wanted) {
        std::optional<Range> found;
        forEachAtom(range, [&](const Atom& atom) {
            if (atom.code == wanted) {
                found = atom.payload;
            }
            return !found;
        });
        return found;
    }

    // "meta" has a version and flags before its children, but not in QuickTime's files.
    Range metaContent(Range meta) {
        std::array<uint8_t, 8> start;
        const bool isBare = bytes_.readFully(meta.begin, start) && isCode(start.data() + 4, "hdlr");
        return isBare ? meta : Range{std::min(meta.begin + 4, meta.end), meta.end};
    }

    QByteArray payload(Range range, int64_t limit) {
        const int64_t size = std::min(range.end - range.begin, limit);
        QByteArray result(size, Qt::Uninitialized);
        const std::span into(reinterpret_cast<uint8_t*>(result.data()), static_cast<size_t>(size));
        result.truncate(bytes_.read(range.begin, into));
        return result;
    }

    void addItem(const Atom& item) {
        const auto* known =
            std::find_if(std::begin(mp4Names), std::end(mp4Names),
                         [&item](const Mp4Name& name) { return name.code == item.code; });
        if (known == std::end(mp4Names)) {
            return;
        }
        const ItemName name{known->commonKey, MetadataKey(known->code)};
        QStringList texts;
        bool hasText = false;
        forEachAtom(item.payload, [&](const Atom& value) {
            std::array<uint8_t, 8> head;
            if (value.code != code("data") || value.payload.end - value.payload.begin < 8 ||
                !bytes_.readFully(value.payload.begin, head)) {
                return true;
            }
            const uint32_t type = be24(head.data() + 1);
            const Range content{value.payload.begin + 8, value.payload.end};
            if (known->code == code("gnre")) {
                const QByteArray number = payload(content, 2);
                if (number.size() == 2) {
                    // Numbered from 1, unlike ID3v1's.
                    texts.append(genreName(static_cast<int>(be16(reinterpret_cast<const uint8_t*>(
                                               number.constData()))) -
                                           1));
                }
                hasText = true;
            } else if (isText(known->code, type)) {
                texts.append(text(payload(content, maximumTextBytes), type));
                hasText = true;
            } else {
                sink_.addData(format, name, payload(content, maximumDataBytes));
            }
            return true;
        });
        if (hasText) {
            sink_.addText(format, name, texts);
        }
    }

    // Some writers leave the type of texts at 0. Covers are bytes whatever they are called.
    static bool isText(uint32_t item, uint32_t type) {
        if (item == code("covr")) {
            return false;
        }
        return type == utf8 || type == utf16 || (type == binary && item != code("trkn"));
    }

    static QString text(const QByteArray& value, uint32_t type) {
        if (type == utf16) {
            QStringDecoder decoder(QStringDecoder::Utf16BE);
            return decoder(value);
        }
        return textOfUnknownEncoding(value);
    }

    ByteSource& bytes_;
    ItemSink& sink_;
};

}  // namespace

void readMp4Items(ByteSource& bytes, ItemSink& sink) {
    Mp4Reader(bytes, sink).read();
}

}  // namespace halvenor
