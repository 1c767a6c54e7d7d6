#pragma once

#include "platform/decode/ByteSource.h"
#include "platform/media/ItemSink.h"

/// The readers of each kind of tag. Each takes the file's bytes and adds what it finds to the sink;
/// damage ends the tag it is in, and what was found before it stays. Any thread.
namespace halvenor {

/// Bytes of the ID3v2 tag at `offset`, its header and footer included; 0 when there is none.
int64_t id3v2TagSize(ByteSource& bytes, int64_t offset);

/// The ID3v2 tag (2.2, 2.3, 2.4) whose header is at `offset`, if any.
void readId3v2Items(ByteSource& bytes, int64_t offset, ItemSink& sink);

/// The ID3v1 or 1.1 tag in the last 128 bytes, if any.
void readId3v1Items(ByteSource& bytes, ItemSink& sink);

/// The APEv1 or APEv2 tag whose footer ends the file, or stands before an ID3v1 tag, if any.
void readApeItems(ByteSource& bytes, ItemSink& sink);

/// The Vorbis comments and pictures of a FLAC file that begins at `begin`.
void readFlacItems(ByteSource& bytes, int64_t begin, ItemSink& sink);

/// The Vorbis comments of the Vorbis, Opus, Speex or FLAC stream in an Ogg file.
void readOggItems(ByteSource& bytes, ItemSink& sink);

/// The item list of an MP4 file (moov/udta/meta/ilst). Format: ISO 14496-12, and Apple's iTunes
/// metadata as players agree on it.
void readMp4Items(ByteSource& bytes, ItemSink& sink);

/// The INFO list and the ID3v2 chunk of a WAVE file (RIFF or RF64).
void readWaveItems(ByteSource& bytes, ItemSink& sink);

/// The text chunks and the ID3v2 chunk of an AIFF or AIFF-C file.
void readAiffItems(ByteSource& bytes, ItemSink& sink);

/// The name of a numbered genre of ID3v1 (with its known extensions); empty for an unknown one.
QString genreName(int number);

}  // namespace halvenor
