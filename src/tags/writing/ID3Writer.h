#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QSet>
#include <QString>

#include <cstdint>
#include <vector>

#include "base/FileUrl.h"
#include "tags/writing/ID3TagFields.h"

namespace halvenor {

/// Rewrites the ID3v2 tag at the head of an MP3 file. The tag it writes is of version 2.3 whatever
/// it found, without padding, extended header or unsynchronisation: first the frames that the edit
/// leaves alone, in their order and with their payloads and flags as they were, then the new ones.
/// All that follows the tag in the file stays, an ID3v1 tag at its end included.
///
/// Formats: ID3v2.3.0 and ID3v2.4.0, id3.org. No state; any thread.
struct ID3Writer {
    /// Rewrites the tag of the file, which is replaced atomically (FileReplacement).
    /// @throws ID3WriterError notAnMP3 unless the extension is "mp3", in any case; ioError when the
    /// file can't be read or written, when its tag claims to be longer than the file, and when the
    /// new tag would be too large. The file is untouched then.
    static void write(const ID3TagFields& fields, const FileUrl& url);

    /// The new tag, in pieces to be put one behind the other.
    /// @param oldTag the tag of the file, its header included; empty for none
    /// @throws ID3WriterError (ioError) when its size doesn't fit into 28 bits
    static std::vector<QByteArray> rewrittenTag(const ID3TagFields& fields, QByteArrayView oldTag);

    /// How many bytes at the head of a file are said to belong to an ID3v2 tag of any version, its
    /// header included; 0 without one. They may be more than there are. A footer doesn't count: it
    /// stays in the file like audio.
    /// @param data the file's beginning, 10 bytes at least where it has them
    static int64_t existingID3v2TagSize(QByteArrayView data);

    /// The frames of a tag of version 2.3 or 2.4, but for those with the `excluded` identifiers, as
    /// frames of version 2.3: the sizes are, and nothing else in them is, converted. Ends without
    /// an error at the first thing that is no whole frame.
    static QByteArray preservedFrames(QByteArrayView data, const QSet<QByteArray>& excluded);

    /// A text frame in UTF-16 with a byte-order mark.
    /// @param identifier four ASCII characters
    static QByteArray textFrame(const QByteArray& identifier, const QString& value);

    /// An attached picture, as the front cover. A MIME type that ISO-8859-1 can't hold becomes
    /// "image/jpeg".
    static QByteArray apicFrame(const QString& mimeType, QByteArrayView imageData);

    /// Four bytes of seven bits each, most significant first. Bits above the 28th are lost.
    static QByteArray synchsafe(uint32_t value);
};

}  // namespace halvenor
