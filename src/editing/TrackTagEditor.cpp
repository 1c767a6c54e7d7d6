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
    : state_(&state), tracks_(tracksToEdit(state)), coverSearch_(discogs) {
    QList<QString> artists;
    QList<QString> albums;
    QList<QString> albumArtists;
    for (const Track& track : tracks_) {
        artists.append(track.artist());
        albums.append(track.album());
        albumArtists.append(track.albumArtist());
    }
    artist = DraftText::of(artists);
    album = DraftText::of(albums);
    albumArtist = DraftText::of(albumArtists);
    if (tracks_.size() == 1) {
        title = tracks_.first().title();
        if (tracks_.first().artworkData().isPresent()) {
            selectedArtworkData = tracks_.first().artworkData().bytes();
        }
    }
}

QString TrackTagEditor::note() {
    return QStringLiteral("Changes are written to the file only after Save.");
}

void TrackTagEditor::changeArtwork(const std::optional<QByteArray>& data) {
    artworkWasChanged_ = true;
    selectedArtworkData = data;
}

void TrackTagEditor::fetchDiscogsCover() {
    if (tracks_.size() != 1) {
        return;
    }
    errorMessage = std::nullopt;
    const Track& track = tracks_.first();
    coverSearch_.start(artist.text.isEmpty() ? track.artist() : artist.text,
                       album.text.isEmpty() ? track.album() : album.text,
                       [this](const std::optional<QByteArray>& cover) {
                           if (cover) {
                               changeArtwork(cover);
                           } else {
                               errorMessage = noCoverFound();
                           }
                       });
}

// The album artist of a single track is shown and not written: it belongs to the album.
Track TrackTagEditor::edited(const Track& track) const {
    Track copy = track;
    if (tracks_.size() == 1) {
        copy.setTitle(title);
        copy.setArtist(artist.text);
        copy.setAlbum(album.text);
        if (artworkWasChanged_) {
            copy.setArtworkData(*selectedArtworkData ? Artwork(**selectedArtworkData) : Artwork());
        }
        return copy;
    }
    if (artist.applies()) {
        copy.setArtist(artist.text);
    }
    if (album.applies()) {
        copy.setAlbum(album.text);
    }
    if (albumArtist.applies()) {
        copy.setAlbumArtist(albumArtist.text);
    }
    return copy;
}

void TrackTagEditor::save() {
    if (*isSaving) {
        return;
    }
    errorMessage = std::nullopt;
    QList<Track> changed;
    for (const Track& track : tracks_) {
        changed.append(edited(track));
    }
    isSaving = true;
    spawn(saveTask(changed));
}

Task<> TrackTagEditor::saveTask(QList<Track> changed) {
    const QPointer<TrackTagEditor> self(this);
    auto saving = saveTags(state_, changed);
    const TagSaveOutcome outcome = co_await saving;
    if (!self) {
        co_return;
    }
    isSaving = false;
    errorMessage = outcome.message();
    if (!*errorMessage && onDismiss) {
        onDismiss();
    }
}

}  // namespace halvenor
