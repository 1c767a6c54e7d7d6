#include "support/TagBytes.h"

namespace halvenor::test {

namespace {

QByteArray synchsafe(uint32_t value) {
    QByteArray bytes;
    for (int shift = 21; shift >= 0; shift -= 7) {
        bytes.append(static_cast<char>(value >> shift & 0x7f));
    }
    return bytes;
}

QByteArray sizeOf(const QByteArray& payload, QByteArray (*encode)(uint32_t)) {
    return encode(static_cast<uint32_t>(payload.size()));
}

}  // namespace

QByteArray be16(uint32_t value) {
    return be32(value).last(2);
}
QByteArray be24(uint32_t value) {
    return be32(value).last(3);
}
QByteArray be32(uint32_t value) {
    QByteArray bytes;
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes.append(static_cast<char>(value >> shift & 0xff));
    }
    return bytes;
}
QByteArray le32(uint32_t value) {
    QByteArray bytes = be32(value);
    std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

QByteArray id3Frame(int version, const QByteArray& identifier, const QByteArray& payload) {
    if (version == 2) {
        return identifier + sizeOf(payload, be24) + payload;
    }
    return identifier + sizeOf(payload, version == 4 ? synchsafe : be32) + QByteArray(2, '\0') +
           payload;
}

QByteArray id3Text(int version, const QByteArray& identifier, const QString& text) {
    QByteArray payload("\x01\xff\xfe");
    for (const QChar unit : text) {
        payload.append(static_cast<char>(unit.unicode() & 0xff));
        payload.append(static_cast<char>(unit.unicode() >> 8));
    }
    return id3Frame(version, identifier, payload + QByteArray(2, '\0'));
}

QByteArray id3Picture(const QByteArray& mimeType, char pictureType, const QByteArray& image) {
    return QByteArray(1, '\0') + mimeType + '\0' + pictureType + '\0' + image;
}

QByteArray id3Tag(int version, const QByteArray& frames) {
    return QByteArray("ID3") + static_cast<char>(version) + QByteArray(2, '\0') +
           sizeOf(frames, synchsafe) + frames;
}

QByteArray id3v1Tag(const QByteArray& title, const QByteArray& artist, const QByteArray& album,
                    const QByteArray& year, char track, char genre) {
    const auto field = [](const QByteArray& text, qsizetype size) {
        return text.leftJustified(size, '\0', true);
    };
    return "TAG" + field(title, 30) + field(artist, 30) + field(album, 30) + field(year, 4) +
           field({}, 29) + track + genre;
}

QByteArray apeItem(const QByteArray& key, const QByteArray& value, uint32_t flags) {
    return sizeOf(value, le32) + le32(flags) + key + '\0' + value;
}

QByteArray apeTag(const QByteArrayList& items) {
    const QByteArray body = items.join();
    return body + "APETAGEX" + le32(2000) + le32(static_cast<uint32_t>(body.size()) + 32) +
           le32(static_cast<uint32_t>(items.size())) + le32(0) + QByteArray(8, '\0');
}

QByteArray mp3Frames(int count) {
    const QByteArray frame = QByteArray("\xff\xfb\x90\x64").leftJustified(417, '\0');
    return frame.repeated(count);
}

QByteArray vorbisComments(const QByteArrayList& comments) {
    QByteArray payload = le32(4) + "test" + le32(static_cast<uint32_t>(comments.size()));
    for (const QByteArray& comment : comments) {
        payload += sizeOf(comment, le32) + comment;
    }
    return payload;
}

QByteArray flacPicture(const QByteArray& mimeType, uint32_t pictureType, const QByteArray& image) {
    return be32(pictureType) + sizeOf(mimeType, be32) + mimeType + be32(0) + be32(0) + be32(0) +
           be32(24) + be32(0) + sizeOf(image, be32) + image;
}

QByteArray flacBlock(int type, const QByteArray& payload) {
    return static_cast<char>(type) + sizeOf(payload, be24) + payload;
}

QByteArray flacFile(const QByteArrayList& blocks) {
    // 4096 frames a block; 44100 Hz, 2 channels, 16 bits, 44100 frames in 64 bits.
    const QByteArray streamInfo = be16(4096) + be16(4096) + be24(0) + be24(0) +
                                  be32(44100u << 12 | 1u << 9 | 15u << 4) + be32(44100) +
                                  QByteArray(16, '\0');
    const QByteArray padding = static_cast<char>(0x81) + be24(16) + QByteArray(16, '\0');
    return "fLaC" + flacBlock(0, streamInfo) + blocks.join() + padding;
}

QByteArray atom(const QByteArray& code, const QByteArray& payload) {
    return be32(static_cast<uint32_t>(payload.size()) + 8) + code + payload;
}

QByteArray mp4Value(uint32_t type, const QByteArray& value) {
    return atom("data", be32(type) + be32(0) + value);
}

QByteArray mp4File(const QByteArray& items) {
    const QByteArray meta =
        atom("meta", be32(0) + atom("hdlr", QByteArray(24, '\0')) + atom("ilst", items));
    return atom("ftyp", "M4A " + be32(0)) + atom("moov", atom("udta", meta));
}

}  // namespace halvenor::test
