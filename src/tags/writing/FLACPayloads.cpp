// The payloads of comment and picture blocks.
#include <QStringDecoder>
#include <QtEndian>

#include <set>

#include "model/ID3WriterError.h"
#include "tags/writing/FLACTagWriter.h"
#include "tags/writing/ImageHeader.h"

namespace halvenor {

namespace {

[[noreturn]] void fail(const char* message) {
    throw ID3WriterError::ioError(QString::fromLatin1(message));
}

template <class Number>
void append(Number number, QByteArray& to) {
    to.append(reinterpret_cast<const char*>(&number), sizeof number);
}

void appendWithSize(QByteArrayView bytes, QByteArray& to) {
    FLACTagWriter::appendUInt32LE(static_cast<uint32_t>(bytes.size()), to);
    to.append(bytes);
}

// The text of an entry; absent when it isn't UTF-8.
std::optional<QString> decoded(QByteArrayView entry) {
    // A mark at the beginning is a character like others here.
    QStringDecoder utf8(QStringDecoder::Utf8,
                        QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    const QString text = utf8(entry);
    return utf8.hasError() ? std::nullopt : std::optional<QString>(text);
}

// The upper-case key of an entry; empty when it has none.
QByteArray keyOf(const QString& entry) {
    return entry.left(std::max<qsizetype>(0, entry.indexOf(u'='))).toUpper().toUtf8();
}

QByteArray entryOf(const FLACTagWriter::Updates::value_type& update) {
    return update.first + '=' + update.second;
}

QByteArrayView readBytes(QByteArrayView data, int64_t& cursor, const char* message) {
    const uint32_t size = FLACTagWriter::readUInt32LE(data, cursor);
    if (cursor + int64_t{size} > data.size()) {
        fail(message);
    }
    const QByteArrayView bytes = data.sliced(cursor, size);
    cursor += size;
    return bytes;
}

}  // namespace

FLACTagWriter::Updates FLACTagWriter::commentUpdates(const ID3TagFields& fields) {
    Updates updates;
    const auto add = [&updates](const char* key, const std::optional<QString>& value) {
        if (value) {
            updates[key] = value->toUtf8();
        }
    };
    add("TITLE", fields.title);
    add("ARTIST", fields.artist);
    add("ALBUM", fields.album);
    add("ALBUMARTIST", fields.albumArtist);
    if (fields.year) {
        const QByteArray digits = QByteArray::number(qint64{*fields.year});
        updates["DATE"] = digits;
        updates["YEAR"] = digits;
    }
    return updates;
}

QByteArray FLACTagWriter::updatingVorbisComments(QByteArrayView payload, const Updates& updates) {
    int64_t cursor = 0;
    const QByteArrayView vendor = readBytes(payload, cursor, "Invalid FLAC Vorbis comment");
    std::vector<QByteArray> comments;
    std::set<QByteArray> replaced;
    for (uint32_t left = readUInt32LE(payload, cursor); left > 0; --left) {
        const QByteArrayView entry =
            readBytes(payload, cursor, "Invalid FLAC Vorbis comment entry");
        const std::optional<QString> text = decoded(entry);
        if (!text) {
            continue;
        }
        const auto update = updates.find(keyOf(*text));
        if (update == updates.end()) {
            comments.push_back(QByteArray::fromRawData(entry.data(), entry.size()));
        } else if (replaced.insert(update->first).second) {
            comments.push_back(entryOf(*update));
        }
    }
    for (const auto& update : updates) {
        if (!replaced.contains(update.first)) {
            comments.push_back(entryOf(update));
        }
    }
    return encodeVorbisComments(vendor, comments);
}

QByteArray FLACTagWriter::makeVorbisComments(const Updates& updates) {
    std::vector<QByteArray> comments;
    for (const auto& update : updates) {
        comments.push_back(entryOf(update));
    }
    return encodeVorbisComments("Halvenor", comments);
}

QByteArray FLACTagWriter::encodeVorbisComments(QByteArrayView vendor,
                                               const std::vector<QByteArray>& comments) {
    QByteArray payload;
    appendWithSize(vendor, payload);
    appendUInt32LE(static_cast<uint32_t>(comments.size()), payload);
    for (const QByteArray& comment : comments) {
        appendWithSize(comment, payload);
    }
    return payload;
}

QByteArray FLACTagWriter::makePictureBlock(QByteArrayView imageData, const QString& mimeType) {
    constexpr uint32_t frontCover = 3;
    constexpr uint32_t bitsPerPixel = 24;
    const PixelSize size = readPixelSize(imageData).value_or(PixelSize());
    const QByteArray mimeBytes = mimeType.toUtf8();
    QByteArray payload;
    payload.reserve(8 * 4 + mimeBytes.size() + imageData.size());
    appendUInt32BE(frontCover, payload);
    appendUInt32BE(static_cast<uint32_t>(mimeBytes.size()), payload);
    payload += mimeBytes;
    appendUInt32BE(0, payload);  // no description
    appendUInt32BE(size.width, payload);
    appendUInt32BE(size.height, payload);
    appendUInt32BE(bitsPerPixel, payload);
    appendUInt32BE(0, payload);  // no indexed colours
    appendUInt32BE(static_cast<uint32_t>(imageData.size()), payload);
    return payload.append(imageData);
}

uint32_t FLACTagWriter::readUInt32LE(QByteArrayView data, int64_t& cursor) {
    if (cursor + 4 > data.size()) {
        fail("Invalid FLAC Vorbis comment");
    }
    const auto value = qFromLittleEndian<quint32>(data.data() + cursor);
    cursor += 4;
    return value;
}

void FLACTagWriter::appendUInt32LE(uint32_t value, QByteArray& to) {
    append(qToLittleEndian(value), to);
}

void FLACTagWriter::appendUInt32BE(uint32_t value, QByteArray& to) {
    append(qToBigEndian(value), to);
}

}  // namespace halvenor
