#include "editing/AlbumTagEditor.h"

#include "tags/TagService.h"

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

AlbumTagEditor::AlbumTagEditor(AppState& state, const QList<Track>& tracks)
    : album(draftOf(tracks, &Track::album)),
      artist(draftOf(tracks, &Track::artist)),
      albumArtist(draftOf(tracks, &Track::albumArtist)),
      state_(&state),
      tracks_(tracks) {
    QList<std::optional<int64_t>> years;
    for (const Track& track : tracks) {
        years.append(track.year());
        if (!*selectedArtworkData && track.artworkData().isPresent()) {
            selectedArtworkData = track.artworkData().bytes();
        }
    }
    const auto commonYear = commonValue(years);
    yearWasMultiple_ = !commonYear && !years.isEmpty();
    if (commonYear && *commonYear) {
        year = QString::number(**commonYear);
    }
}

void AlbumTagEditor::changeArtwork(const std::optional<QByteArray>& data,
                                   const std::optional<QString>& fileName) {
    artworkWasChanged_ = true;
    selectedArtworkFileName = fileName;
    selectedArtworkData = data;
}

QList<Track> AlbumTagEditor::writableTracks() const {
    QList<Track> writable;
    for (const Track& track : tracks_) {
        if (TagService::supportsTagWriting(track.url())) {
            writable.append(track);
        }
    }
    return writable;
}

Track AlbumTagEditor::edited(const Track& track, std::optional<int64_t> newYear) const {
    Track copy = track;
    if (album.applies()) {
        copy.setAlbum(album.text);
    }
    if (artist.applies()) {
        copy.setArtist(artist.text);
    }
    if (albumArtist.applies()) {
        copy.setAlbumArtist(albumArtist.text);
    }
    if (newYear) {
        copy.setYear(newYear);
    }
    if (artworkWasChanged_) {
        copy.setArtworkData(*selectedArtworkData ? Artwork(**selectedArtworkData) : Artwork());
    }
    return copy;
}

void AlbumTagEditor::save() {
    if (*isSaving) {
        return;
    }
    errorMessage = std::nullopt;
    const QList<Track> writable = writableTracks();
    if (writable.isEmpty()) {
        errorMessage = QStringLiteral("This folder contains no writable MP3 or FLAC files.");
        return;
    }
    const auto newYear = parsedYear(year);
    if (!newYear && !year.trimmed().isEmpty()) {
        errorMessage = QStringLiteral("Year must contain four digits.");
        return;
    }
    QList<Track> changed;
    for (const Track& track : writable) {
        changed.append(edited(track, newYear));
    }
    isSaving = true;
    spawn(saveTask(changed));
}

Task<> AlbumTagEditor::saveTask(QList<Track> changed) {
    const QPointer<AlbumTagEditor> self(this);
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
