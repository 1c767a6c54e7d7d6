#include "tags/writing/ID3Writer.h"

#include <QtEndian>

#include <algorithm>
#include <array>

#include "model/ID3WriterError.h"
#include "tags/writing/TagFile.h"

namespace halvenor {

namespace {

constexpr qsizetype headerSize = 10;             // of a tag, and of a frame
constexpr int64_t maximumTagBytes = 0x0fffffff;  // without the header

constexpr uint8_t extendedHeaderFlag = 0x40;

// The bits above the seventh of each byte are ignored.
uint32_t readSynchsafe(const char* bytes) {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i) {
        value = value << 7 | (static_cast<uint8_t>(bytes[i]) & 0x7f);
    }
    return value;
}

uint32_t readSize(const char* bytes, int majorVersion) {
    return majorVersion == 4 ? readSynchsafe(bytes) : qFromBigEndian<quint32>(bytes);
}

void appendPlainSize(QByteArray& to, uint32_t size) {
    std::array<char, 4> bytes{};
    qToBigEndian<quint32>(size, bytes.data());
    to.append(bytes.data(), bytes.size());
}

// The head of a frame and the first bytes of its payload, with room for the others.
QByteArray frame(const QByteArray& identifier, QByteArrayView start, qsizetype payloadSize) {
    QByteArray bytes;
    bytes.reserve(headerSize + payloadSize);
    bytes += identifier;
    appendPlainSize(bytes, static_cast<uint32_t>(payloadSize));
    bytes.append(2, '\0').append(start);
    return bytes;
}

void requireRoom(int64_t frameBytes) {
    if (frameBytes > maximumTagBytes) {
        throw ID3WriterError::ioError(QStringLiteral("ID3 tag is too large"));
    }
}

bool hasTag(QByteArrayView data) {
    return data.size() >= headerSize && data.startsWith("ID3");
}

// Where the frames of a tag begin; absent when its extended header can't be.
std::optional<int64_t> beginOfFrames(QByteArrayView data, int majorVersion, int64_t tagEnd) {
    const bool isExtended = (static_cast<uint8_t>(data[5]) & extendedHeaderFlag) != 0;
    if (!isExtended || tagEnd < headerSize + 4) {
        return headerSize;
    }
    int64_t extendedSize = readSize(data.data() + headerSize, majorVersion);
    if (majorVersion == 3) {
        extendedSize += 4;  // Here the number doesn't count itself.
    }
    if (extendedSize == 0 || headerSize + extendedSize > tagEnd) {
        return std::nullopt;
    }
    return headerSize + extendedSize;
}

// All that the identifier of a frame must be: four bytes of ASCII, not all of them padding.
bool isIdentifier(QByteArrayView bytes) {
    const bool isAscii =
        std::ranges::none_of(bytes, [](char c) { return static_cast<uint8_t>(c) > 0x7f; });
    return isAscii && bytes != QByteArrayView("\0\0\0\0", 4);
}

struct TextField {
    const char* identifier;
    std::optional<QString> value;
};

// The text frames that an edit makes, in the order of the file. Halves of surrogate pairs, which
// no reader could decode, become question marks.
std::array<TextField, 5> textFields(const ID3TagFields& fields) {
    const auto clean = [](const std::optional<QString>& text) {
        return text && !text->isValidUtf16() ? QString::fromUtf8(text->toUtf8()) : text;
    };
    std::optional<QString> year;
    if (fields.year) {
        year = QString::number(*fields.year);
    }
    return {{{"TIT2", clean(fields.title)},
             {"TPE1", clean(fields.artist)},
             {"TALB", clean(fields.album)},
             {"TPE2", clean(fields.albumArtist)},
             {"TYER", year}}};
}

// The frames that must not survive beside those that an edit makes.
QSet<QByteArray> replacedFrames(const ID3TagFields& fields) {
    QSet<QByteArray> identifiers;
    for (const TextField& field : textFields(fields)) {
        if (field.value) {
            identifiers.insert(field.identifier);
        }
    }
    if (fields.year) {
        identifiers.insert("TDRC");
    }
    if (fields.artworkData) {
        identifiers.insert("APIC");
    }
    return identifiers;
}

}  // namespace

void ID3Writer::write(const ID3TagFields& fields, const FileUrl& url) {
    if (url.pathExtension().toLower() != "mp3") {
        throw ID3WriterError::notAnMP3();
    }
    TagFile file(url);
    const int64_t tagSize = existingID3v2TagSize(file.read(0, headerSize));
    if (tagSize > file.size()) {
        throw ID3WriterError::ioError(
            QStringLiteral("Invalid ID3 tag: it is longer than the file"));
    }
    const QByteArray oldTag = file.read(0, tagSize);
    file.replace(rewrittenTag(fields, oldTag), tagSize);
}

std::vector<QByteArray> ID3Writer::rewrittenTag(const ID3TagFields& fields, QByteArrayView oldTag) {
    std::vector<QByteArray> frames{preservedFrames(oldTag, replacedFrames(fields))};
    for (const auto& [identifier, value] : textFields(fields)) {
        if (value) {
            frames.push_back(textFrame(identifier, *value));
        }
    }
    if (fields.artworkData) {
        requireRoom(fields.artworkData->size());  // Before it is copied.
        frames.push_back(apicFrame(fields.artworkMimeType, *fields.artworkData));
    }
    int64_t size = 0;
    for (const QByteArray& each : frames) {
        size += each.size();
    }
    requireRoom(size);
    frames.insert(frames.begin(),
                  QByteArray("ID3\3\0\0", 6) + synchsafe(static_cast<uint32_t>(size)));
    return frames;
}

int64_t ID3Writer::existingID3v2TagSize(QByteArrayView data) {
    return hasTag(data) ? headerSize + int64_t{readSynchsafe(data.data() + 6)} : 0;
}

QByteArray ID3Writer::preservedFrames(QByteArrayView data, const QSet<QByteArray>& excluded) {
    const int majorVersion = hasTag(data) ? data[3] : 0;
    if (majorVersion != 3 && majorVersion != 4) {
        return {};
    }
    const int64_t tagEnd = std::min<int64_t>(existingID3v2TagSize(data), data.size());
    QByteArray frames;
    frames.reserve(tagEnd);
    auto position = beginOfFrames(data, majorVersion, tagEnd);
    while (position && *position + headerSize <= tagEnd) {
        const QByteArrayView frame = data.sliced(*position);
        const QByteArray identifier = frame.first(4).toByteArray();
        const uint32_t size = readSize(frame.data() + 4, majorVersion);
        const int64_t next = *position + headerSize + int64_t{size};
        if (!isIdentifier(identifier) || next > tagEnd) {
            break;
        }
        if (!excluded.contains(identifier)) {
            frames += identifier;
            appendPlainSize(frames, size);
            frames += frame.sliced(8, 2 + qsizetype{size});  // flags and payload
        }
        position = next;
    }
    return frames;
}

QByteArray ID3Writer::textFrame(const QByteArray& identifier, const QString& value) {
    constexpr char encodingAndMark[] = {1, '\xff', '\xfe'};
    const qsizetype textBytes = value.size() * 2;
    QByteArray result =
        frame(identifier, QByteArrayView(encodingAndMark), sizeof encodingAndMark + textBytes + 2);
    for (const QChar unit : value) {
        result.append(static_cast<char>(unit.cell())).append(static_cast<char>(unit.row()));
    }
    return result.append(2, '\0');
}

QByteArray ID3Writer::apicFrame(const QString& mimeType, QByteArrayView imageData) {
    const bool isLatin1 =
        std::ranges::all_of(mimeType, [](QChar unit) { return unit.unicode() <= 0xff; });
    const QByteArray start = '\0' + (isLatin1 ? mimeType.toLatin1() : QByteArray("image/jpeg")) +
                             QByteArray("\0\3\0", 3);  // end of type, front cover, no description
    return frame("APIC", start, start.size() + imageData.size()).append(imageData);
}

QByteArray ID3Writer::synchsafe(uint32_t value) {
    QByteArray bytes(4, '\0');
    for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte) {
        *byte = static_cast<char>(value & 0x7f);
        value >>= 7;
    }
    return bytes;
}

}  // namespace halvenor
