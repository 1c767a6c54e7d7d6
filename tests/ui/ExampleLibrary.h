#pragma once

#include <memory>

#include "state/AppState.h"

namespace halvenor::test {

/// A state without sound or settings file: nothing in it comes from the disk.
/// @param settingsFile a place that may be written
std::unique_ptr<AppState> makeState(const FileUrl& settingsFile);

/// A track that needs no file.
Track exampleTrack(const QByteArray& path, const QString& title, const QString& artist,
                   double seconds = 200);

/// Says that `parent` has been listed and holds folders of these names.
FolderList addFolders(AppState& state, const FolderItem& parent, const QList<QByteArray>& names);

/// Makes `names` Locations, listed and empty, below "/music".
FolderList addRoots(AppState& state, const QList<QByteArray>& names);

/// The waveform of a song that never was.
QList<float> examplePeaks();

/// A library to look at: an expanded tree, an open album with a cover, one track that plays, and a
/// history.
void fillWithExample(AppState& state);

/// A drawn cover, as PNG bytes.
/// @param hue 0...359
Artwork exampleCover(int hue);

}  // namespace halvenor::test
