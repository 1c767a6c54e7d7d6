// Vorbis comments, in FLAC's metadata blocks and in Ogg. They have no numbered or four-letter
// names, so their album artist and track go by the identifiers of ID3v2.
#include <array>
#include <taglib/flacpicture.h>
#include <taglib/oggflacfile.h>
#include <taglib/opusfile.h>
#include <taglib/speexfile.h>
#include <taglib/vorbisfile.h>
#include <taglib/xiphcomment.h>

#include "platform/media/TagLibBridge.h"
#include "platform/media/TagReaders.h"

namespace halvenor {

namespace {

constexpr auto format = MetadataFormat::vorbisComments;

// DATE is the standard's name and stands after YEAR, so that it has the last word. Of the two
// spellings of the album artist the first one found counts.
struct CommentName {
    const char* name;
    const char* frame;
};
constexpr CommentName commentNames[] = {
    {"TITLE", "TIT2"},       {"ARTIST", "TPE1"},       {"ALBUM", "TALB"},
    {"YEAR", "TDRC"},        {"DATE", "TDRC"},         {"GENRE", "TCON"},
    {"ALBUMARTIST", "TPE2"}, {"ALBUM ARTIST", "TPE2"}, {"TRACKNUMBER", "TRCK"},
};

void addPicture(const TagLib::FLAC::Picture& picture, ItemSink& sink) {
    const bool isAddress = picture.mimeType() == "-->";
    sink.addData(format, *nameOfFrame("APIC"), isAddress ? TagLib::ByteVector() : picture.data());
}

// Each value is an item of its own.
void addComments(TagLib::Ogg::XiphComment& comments, ItemSink& sink) {
    const TagLib::Ogg::FieldListMap& fields = comments.fieldListMap();
    for (const CommentName& name : commentNames) {
        const auto found = fields.find(name.name);
        if (found == fields.end()) {
            continue;
        }
        for (const TagLib::String& value : found->second) {
            sink.addText(format, *nameOfFrame(name.frame), {toQString(value)});
        }
    }
    for (const TagLib::FLAC::Picture* picture : comments.pictureList()) {
        addPicture(*picture, sink);
    }
}

enum BlockType : uint8_t { vorbisComment = 4, picture = 6 };

template <class OggFile>
void readOggFile(TagStream& stream, ItemSink& sink) {
    OggFile file(&stream, false);
    if (file.isValid() && file.tag() != nullptr) {
        addComments(*file.tag(), sink);
    }
}

}  // namespace

void readFlacItems(ByteSource& bytes, int64_t begin, ItemSink& sink) {
    TagStream stream(bytes);
    bool hasComments = false;
    int64_t offset = begin + 4;
    for (bool isLast = false; !isLast;) {
        std::array<uint8_t, 4> header;
        if (!bytes.readFully(offset, header)) {
            return;
        }
        isLast = (header[0] & 0x80) != 0;
        const int type = header[0] & 0x7f;
        const uint32_t size = be24(header.data() + 1);
        offset += 4;
        stream.seek(static_cast<long>(offset), TagStream::Beginning);
        // The format allows one block of comments; of several the first counts.
        if (type == BlockType::vorbisComment && !hasComments) {
            TagLib::Ogg::XiphComment comments(stream.readBlock(size));
            addComments(comments, sink);
            hasComments = true;
        } else if (type == BlockType::picture) {
            addPicture(TagLib::FLAC::Picture(stream.readBlock(size)), sink);
        }
        offset += size;
    }
}

void readOggItems(ByteSource& bytes, ItemSink& sink) {
    // The first packet begins behind the first page's table of segments and names the codec.
    std::array<uint8_t, 28> page;
    std::array<uint8_t, 8> packet;
    if (!bytes.readFully(0, page) || !bytes.readFully(27 + page[26], packet)) {
        return;
    }
    TagStream stream(bytes);
    const QByteArrayView magic(packet);
    if (magic.startsWith("\x01vorbis")) {
        readOggFile<TagLib::Vorbis::File>(stream, sink);
    } else if (magic.startsWith("OpusHead")) {
        readOggFile<TagLib::Ogg::Opus::File>(stream, sink);
    } else if (magic.startsWith("Speex")) {
        readOggFile<TagLib::Ogg::Speex::File>(stream, sink);
    } else if (magic.startsWith("\x7f"
                                "FLAC")) {
        readOggFile<TagLib::Ogg::FLAC::File>(stream, sink);
    }
}

}  // namespace halvenor
