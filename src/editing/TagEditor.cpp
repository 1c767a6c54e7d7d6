#include "editing/TagEditor.h"

#include <utility>

namespace halvenor {

namespace {

template <class Get>
DraftText draftOf(const QList<Track>& tracks, Get get) {
    QList<QString> values;
    for (const Track& track : tracks) {
        values.append((track.*get)());
    }
    return DraftText::of(values);
}

}  // namespace

TagEditor::TagEditor(AppState& state, const QList<Track>& tracks, DiscogsService& discogs)
    : artist(draftOf(tracks, &Track::artist)),
      album(draftOf(tracks, &Track::album)),
      albumArtist(draftOf(tracks, &Track::albumArtist)),
      state_(&state),
      tracks_(tracks),
      coverSearch_(discogs) {}

void TagEditor::setArtwork(const std::optional<QByteArray>& data) {
    artworkWasChanged_ = true;
    selectedArtworkData = data;
}

void TagEditor::applyTexts(Track& track) const {
    if (artist.applies()) {
        track.setArtist(artist.text);
    }
    if (album.applies()) {
        track.setAlbum(album.text);
    }
    if (albumArtist.applies()) {
        track.setAlbumArtist(albumArtist.text);
    }
}

void TagEditor::applyArtwork(Track& track) const {
    if (artworkWasChanged_) {
        track.setArtworkData(*selectedArtworkData ? Artwork(**selectedArtworkData) : Artwork());
    }
}

void TagEditor::searchCover(const QString& searchedArtist, const QString& searchedAlbum,
                            std::function<void(const QByteArray&)> onFound) {
    errorMessage = std::nullopt;
    coverSearch_.start(
        searchedArtist, searchedAlbum,
        [this, onFound = std::move(onFound)](const std::optional<QByteArray>& cover) {
            if (cover) {
                onFound(*cover);
            } else {
                errorMessage = noCoverFound();
            }
        });
}

void TagEditor::startSaving(const QList<Track>& changed) {
    errorMessage = std::nullopt;
    isSaving = true;
    spawn(saveTask(changed));
}

Task<> TagEditor::saveTask(QList<Track> changed) {
    const QPointer<TagEditor> self(this);
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
