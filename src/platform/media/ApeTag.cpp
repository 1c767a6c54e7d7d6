// APEv2 as MP3 files carry it: at the end, before an ID3v1 tag.
#include <array>
#include <taglib/apetag.h>

#include "platform/media/TagLibBridge.h"
#include "platform/media/TagReaders.h"

namespace halvenor {

namespace {

constexpr int64_t footerBytes = 32;
constexpr int64_t id3v1Bytes = 128;

// The keys of APE items, in upper case as TagLib gives them, and the ID3v2 identifiers of the same
// meaning. Later ones override earlier ones.
struct ApeName {
    const char* key;
    const char* frame;
};
constexpr ApeName apeNames[] = {
    {"TITLE", "TIT2"}, {"ARTIST", "TPE1"},       {"ALBUM", "TALB"},       {"YEAR", "TDRC"},
    {"GENRE", "TCON"}, {"ALBUM ARTIST", "TPE2"}, {"ALBUMARTIST", "TPE2"}, {"TRACK", "TRCK"},
};
constexpr const char* coverKeys[] = {"COVER ART (BACK)", "COVER ART (FRONT)"};

std::optional<int64_t> findFooter(ByteSource& bytes) {
    for (const int64_t behind : {int64_t{0}, id3v1Bytes}) {
        const int64_t offset = bytes.size() - behind - footerBytes;
        std::array<uint8_t, 8> magic;
        if (bytes.readFully(offset, magic) && QByteArrayView(magic) == "APETAGEX") {
            return offset;
        }
    }
    return std::nullopt;
}

// A cover is the text of its description, a NUL, and the image.
TagLib::ByteVector imageOf(const TagLib::APE::Item& item) {
    const TagLib::ByteVector data = item.binaryData();
    const int end = data.find('\0');
    return end < 0 ? TagLib::ByteVector() : data.mid(static_cast<unsigned>(end) + 1);
}

}  // namespace

void readApeItems(ByteSource& bytes, ItemSink& sink) {
    const auto footer = findFooter(bytes);
    if (!footer) {
        return;
    }
    TagStream stream(bytes);
    BareFile file(stream);
    const TagLib::APE::Tag tag(&file, static_cast<long>(*footer));
    const TagLib::APE::ItemListMap& items = tag.itemListMap();
    for (const ApeName& name : apeNames) {
        const auto found = items.find(name.key);
        if (found != items.end() && found->second.type() == TagLib::APE::Item::Text) {
            sink.addText(MetadataFormat::ape, *nameOfFrame(name.frame),
                         toQStringList(found->second.values()));
        }
    }
    for (const char* key : coverKeys) {
        const auto found = items.find(key);
        if (found != items.end() && found->second.type() == TagLib::APE::Item::Binary) {
            sink.addData(MetadataFormat::ape, *nameOfFrame("APIC"), imageOf(found->second));
        }
    }
}

}  // namespace halvenor
