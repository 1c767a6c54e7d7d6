// ID3v1: 128 bytes at the end of the file, in fields of fixed width.
#include <array>
#include <taglib/id3v1genres.h>

#include "platform/media/TagLibBridge.h"
#include "platform/media/TagReaders.h"

namespace halvenor {

namespace {

constexpr int64_t tagBytes = 128;

struct Field {
    const char* frame;  // the ID3v2 identifier of the same meaning
    qsizetype offset;
    qsizetype bytes;
};
constexpr Field fields[] = {
    {"TIT2", 3, 30},
    {"TPE1", 33, 30},
    {"TALB", 63, 30},
    {"TDRC", 93, 4},
};

}  // namespace

QString genreName(int number) {
    return toQString(TagLib::ID3v1::genre(number));
}

void readId3v1Items(ByteSource& bytes, ItemSink& sink) {
    std::array<uint8_t, tagBytes> raw;
    if (!bytes.readFully(bytes.size() - tagBytes, raw)) {
        return;
    }
    const QByteArrayView tag(raw);
    if (!tag.startsWith("TAG")) {
        return;
    }
    // An empty field is one that was not filled in: no item at all.
    const auto add = [&](const char* frame, const QString& text) {
        if (!text.isEmpty()) {
            sink.addText(MetadataFormat::id3v1, *nameOfFrame(frame), {text});
        }
    };
    for (const Field& field : fields) {
        add(field.frame, textOfUnknownEncoding(tag.sliced(field.offset, field.bytes)));
    }
    // Version 1.1 takes the last two bytes of the comment for the track.
    if (raw[125] == 0 && raw[126] != 0) {
        add("TRCK", QString::number(raw[126]));
    }
    add("TCON", genreName(raw[127]));
}

}  // namespace halvenor
