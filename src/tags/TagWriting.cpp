#include "tags/TagWriting.h"

#include "model/ID3WriterError.h"
#include "tags/writing/FLACTagWriter.h"
#include "tags/writing/ID3Writer.h"

namespace halvenor {

namespace {

bool isFlac(const FileUrl& url) {
    return url.pathExtension().toLower() == "flac";
}

}  // namespace

bool hasTagWriter(const FileUrl& url) {
    return isFlac(url) || url.pathExtension().toLower() == "mp3";
}

ID3TagFields tagFieldsOf(const Track& track) {
    ID3TagFields fields;
    fields.title = track.title();
    fields.artist = track.artist();
    fields.album = track.album();
    fields.albumArtist = track.albumArtist();
    fields.year = track.year();
    if (track.artworkData().isPresent()) {
        fields.artworkData = track.artworkData().bytes();
    }
    const bool isPng = fields.artworkData && fields.artworkData->startsWith("\x89PNG");
    fields.artworkMimeType = isPng ? QStringLiteral("image/png") : QStringLiteral("image/jpeg");
    return fields;
}

void writeTrack(const Track& track) {
    const FileUrl& url = track.url();
    if (!hasTagWriter(url)) {
        throw ID3WriterError::notAnMP3();
    }
    if (isFlac(url)) {
        FLACTagWriter::write(tagFieldsOf(track), url);
    } else {
        ID3Writer::write(tagFieldsOf(track), url);
    }
}

}  // namespace halvenor
