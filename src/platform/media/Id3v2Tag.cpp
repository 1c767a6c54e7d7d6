// ID3v2 by TagLib, which gives frames in the order of the file and under the identifiers of v2.4,
// whatever version the tag has.
#include <array>
#include <taglib/attachedpictureframe.h>
#include <taglib/id3v2framefactory.h>
#include <taglib/id3v2tag.h>
#include <taglib/textidentificationframe.h>
#include <taglib/unknownframe.h>

#include "platform/media/TagLibBridge.h"
#include "platform/media/TagReaders.h"

namespace halvenor {

namespace {

// A genre may be the number of one of ID3v1's, or one of two letter codes. TagLib has taken the
// parentheses away that v2.3 puts around them.
QString genreText(const QString& text) {
    if (text == QLatin1String("RX")) {
        return QStringLiteral("Remix");
    }
    if (text == QLatin1String("CR")) {
        return QStringLiteral("Cover");
    }
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    const QString name = isNumber ? genreName(number) : QString();
    return name.isEmpty() ? text : name;
}

// "(17)Rock" arrives as "17" and "Rock", one genre told twice.
QStringList genreTexts(const QStringList& texts) {
    QStringList result;
    for (const QString& text : texts) {
        const QString name = genreText(text);
        if (!result.contains(name)) {
            result.append(name);
        }
    }
    return result;
}

// Opens up the type of frame headers, which TagLib keeps to frames and its own factory.
class FrameHeaders : public TagLib::ID3v2::Frame {
  public:
    using Header = TagLib::ID3v2::Frame::Header;
};

// Makes one tag's frames as TagLib does, except that a compressed frame stays closed once those
// before it have used up the allowance. A thousandfold growth is easily made, and TagLib unpacks
// whatever it meets.
class CautiousFactory final : public TagLib::ID3v2::FrameFactory {
  public:
    CautiousFactory() = default;
    ~CautiousFactory() override = default;

  protected:
    bool updateFrame(FrameHeaders::Header* header) const override {
        if (header->compression()) {
            if (header->frameSize() > allowance_) {
                close(*header);
                return false;
            }
            allowance_ -= header->frameSize();
        }
        return FrameFactory::updateFrame(header);
    }

  private:
    // TagLib leaves encrypted frames alone, so that is what the frame becomes.
    static void close(FrameHeaders::Header& header) {
        const unsigned size = header.frameSize();
        const char encrypted = header.version() >= 4 ? 0x04 : 0x40;
        TagLib::ByteVector bytes = header.frameID();
        bytes.append(TagLib::ByteVector(6, 0));
        bytes[9] = encrypted;
        header.setData(bytes, header.version());
        header.setFrameSize(size);
    }

    mutable unsigned allowance_ = 64 << 10;  // bytes as compressed
};

void addFrame(const TagLib::ID3v2::Frame& frame, ItemSink& sink) {
    constexpr auto format = MetadataFormat::id3v2;
    const TagLib::ByteVector identifier = frame.frameID();
    const auto name = nameOfFrame(std::string_view(identifier.data(), identifier.size()));
    if (!name) {
        return;
    }
    if (const auto* text = dynamic_cast<const TagLib::ID3v2::TextIdentificationFrame*>(&frame)) {
        const QStringList texts = toQStringList(text->fieldList());
        const bool isGenre = name->commonKey == CommonKey::type;
        sink.addText(format, *name, isGenre ? genreTexts(texts) : texts);
    } else if (const auto* picture =
                   dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame*>(&frame)) {
        // A picture of the type "-->" is the address of one.
        const bool isAddress = picture->mimeType() == "-->";
        sink.addData(format, *name, isAddress ? TagLib::ByteVector() : picture->picture());
    } else {
        sink.addUnreadable(format, *name);
    }
}

}  // namespace

int64_t id3v2TagSize(ByteSource& bytes, int64_t offset) {
    std::array<uint8_t, 10> header;
    if (!bytes.readFully(offset, header) || !QByteArrayView(header).startsWith("ID3")) {
        return 0;
    }
    int64_t size = 0;
    for (size_t i = 6; i < 10; ++i) {
        size = size << 7 | (header[i] & 0x7f);
    }
    const bool hasFooter = header[3] >= 4 && (header[5] & 0x10) != 0;
    return size + 10 + (hasFooter ? 10 : 0);
}

void readId3v2Items(ByteSource& bytes, int64_t offset, ItemSink& sink) {
    if (id3v2TagSize(bytes, offset) == 0) {
        return;
    }
    TagStream stream(bytes);
    BareFile file(stream);
    const CautiousFactory factory;
    const TagLib::ID3v2::Tag tag(&file, static_cast<long>(offset), &factory);
    for (const TagLib::ID3v2::Frame* frame : tag.frameList()) {
        addFrame(*frame, sink);
    }
}

}  // namespace halvenor
