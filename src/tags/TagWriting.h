#pragma once

#include "model/Track.h"
#include "tags/writing/ID3TagFields.h"

/// What of a Track goes into its file, and which writer puts it there.
namespace halvenor {

/// Whether tags can be written into files of this extension.
bool hasTagWriter(const FileUrl& url);

/// The edit that makes a file say what `track` says. Title, artist, album and album artist always
/// have a value, so what stood in for a missing one becomes a real one; year and artwork are left
/// alone where the track has none, and everything else always is.
ID3TagFields tagFieldsOf(const Track& track);

/// Writes tagFieldsOf(track) into the track's file. Any thread; touches the disk.
/// @throws ID3WriterError notAnMP3 when its extension has no writer; ioError
void writeTrack(const Track& track);

}  // namespace halvenor
