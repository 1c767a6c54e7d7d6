#include "editing/TrackTagEditor.h"

namespace halvenor {

namespace {

QList<Track> tracksToEdit(AppState& state) {
    QList<Track> tracks;
    for (const Track& track : *state.playbackQueue) {
        if (state.selectedTrackIDs->contains(track.id())) {
            tracks.append(track);
        }
    }
    if (tracks.isEmpty() && *state.selectedTrack) {
        tracks.append(**state.selectedTrack);
    }
    return tracks;
}

}  // namespace

TrackTagEditor::TrackTagEditor(AppState& state, DiscogsService& discogs)
    : TagEditor(state, tracksToEdit(state), discogs) {
    if (tracks().size() == 1) {
        title = tracks().first().title();
        if (tracks().first().artworkData().isPresent()) {
            selectedArtworkData = tracks().first().artworkData().bytes();
        }
    }
}

QString TrackTagEditor::note() {
    return QStringLiteral("Changes are written to the file only after Save.");
}

void TrackTagEditor::fetchDiscogsCover() {
    if (tracks().size() != 1) {
        return;
    }
    const Track& track = tracks().first();
    searchCover(artist.text.isEmpty() ? track.artist() : artist.text,
                album.text.isEmpty() ? track.album() : album.text,
                [this](const QByteArray& cover) { changeArtwork(cover); });
}

// The album artist of a single track is shown and not written: it belongs to the album.
Track TrackTagEditor::edited(const Track& track) const {
    Track copy = track;
    if (tracks().size() == 1) {
        copy.setTitle(title);
        copy.setArtist(artist.text);
        copy.setAlbum(album.text);
        applyArtwork(copy);
        return copy;
    }
    applyTexts(copy);
    return copy;
}

void TrackTagEditor::save() {
    if (*isSaving) {
        return;
    }
    QList<Track> changed;
    for (const Track& track : tracks()) {
        changed.append(edited(track));
    }
    startSaving(changed);
}

}  // namespace halvenor
