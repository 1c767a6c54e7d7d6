#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <cstdint>
#include <map>
#include <vector>

#include "base/FileUrl.h"
#include "tags/writing/ID3TagFields.h"

namespace halvenor {

/// Rewrites the first comment block and the first picture of a FLAC file; every other metadata
/// block and the audio stay as they are, padding included.
///
/// Formats: FLAC (RFC 9639) and Vorbis comments (xiph.org). No state; any thread.
struct FLACTagWriter {
    /// New values by upper-case key, both in UTF-8.
    using Updates = std::map<QByteArray, QByteArray>;

    /// Rewrites the metadata of the file, which is replaced atomically (FileReplacement). The
    /// file's bytes decide whether it is FLAC, not its name.
    /// @throws ID3WriterError (ioError); the file is untouched then
    static void write(const ID3TagFields& fields, const FileUrl& url);

    /// The new signature and metadata blocks, in pieces to be put one behind the other. Pieces may
    /// point into `data`. Only the payloads that change are looked at.
    /// @param data the file's beginning, all of its metadata blocks included; what follows them is
    /// not looked at
    /// @throws ID3WriterError (ioError)
    static std::vector<QByteArray> rewrittenMetadata(const ID3TagFields& fields,
                                                     QByteArrayView data);

    /// Where the audio begins, in bytes. @throws ID3WriterError (ioError)
    static int64_t metadataSize(QByteArrayView data);

    static Updates commentUpdates(const ID3TagFields& fields);

    /// A comment block's payload with these values. The first entry of a key is replaced in its
    /// place, further ones go, and keys that were not there come behind the others in ascending
    /// order. The vendor stays; entries that are not UTF-8 don't.
    /// @throws ID3WriterError (ioError) when the payload is damaged
    static QByteArray updatingVorbisComments(QByteArrayView payload, const Updates& updates);

    /// A comment block's payload of nothing else.
    static QByteArray makeVorbisComments(const Updates& updates);

    static QByteArray encodeVorbisComments(QByteArrayView vendor,
                                           const std::vector<QByteArray>& comments);

    /// The payload of a picture block: a front cover without a description, of 24 bits per pixel.
    /// Its size in pixels is read from the image, and 0 where that tells none.
    static QByteArray makePictureBlock(QByteArrayView imageData, const QString& mimeType);

    /// Reads a number and moves `cursor` behind it. @throws ID3WriterError (ioError)
    static uint32_t readUInt32LE(QByteArrayView data, int64_t& cursor);
    static void appendUInt32LE(uint32_t value, QByteArray& to);
    static void appendUInt32BE(uint32_t value, QByteArray& to);
};

}  // namespace halvenor
