#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

#include <cstdint>

/// Tags and small files put together byte by byte, so that tests can make what no tool would write.
namespace halvenor::test {

QByteArray be16(uint32_t value);
QByteArray be24(uint32_t value);
QByteArray be32(uint32_t value);
QByteArray le32(uint32_t value);

/// One frame of an ID3v2 tag of this major version (2, 3 or 4).
QByteArray id3Frame(int version, const QByteArray& identifier, const QByteArray& payload);
/// A text frame in UTF-16 with a byte-order mark.
QByteArray id3Text(int version, const QByteArray& identifier, const QString& text);
/// The payload of an APIC frame.
QByteArray id3Picture(const QByteArray& mimeType, char pictureType, const QByteArray& image);
QByteArray id3Tag(int version, const QByteArray& frames);
/// An ID3v1.1 tag.
QByteArray id3v1Tag(const QByteArray& title, const QByteArray& artist, const QByteArray& album,
                    const QByteArray& year, char track, char genre);
/// One item of an APEv2 tag; flags 0 for text, 2 for bytes.
QByteArray apeItem(const QByteArray& key, const QByteArray& value, uint32_t flags);
QByteArray apeTag(const QByteArrayList& items);

/// MPEG audio without a table of contents: this many frames of silence, 44.1 kHz, 128 kbit/s.
QByteArray mp3Frames(int count);

QByteArray vorbisComments(const QByteArrayList& comments);
QByteArray flacPicture(const QByteArray& mimeType, uint32_t pictureType, const QByteArray& image);
QByteArray flacBlock(int type, const QByteArray& payload);
/// A FLAC file's head (44.1 kHz, stereo, one second) with these blocks after STREAMINFO; no audio.
QByteArray flacFile(const QByteArrayList& blocks);

/// An atom of MP4.
QByteArray atom(const QByteArray& code, const QByteArray& payload);
/// The "data" atom of an item.
QByteArray mp4Value(uint32_t type, const QByteArray& value);
/// An MP4 file of nothing but this item list.
QByteArray mp4File(const QByteArray& items);

}  // namespace halvenor::test
