#include "editing/AlbumTagEditor.h"

#include <QMimeData>

#include "base/ApplicationOwned.h"
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

// Shared, so that closing an editor never waits for an image.
class ImportWorker : public Service {};

bool isBlank(const QString& text) {
    return text.trimmed().isEmpty();
}

}  // namespace

AlbumTagEditor::AlbumTagEditor(AppState& state, const QList<Track>& tracks, DiscogsService& discogs)
    : album(draftOf(tracks, &Track::album)),
      artist(draftOf(tracks, &Track::artist)),
      albumArtist(draftOf(tracks, &Track::albumArtist)),
      state_(&state),
      tracks_(tracks),
      coverSearch_(discogs) {
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

void AlbumTagEditor::applyArtworkData(const QByteArray& data, const QString& fileName) {
    importArtwork(importOfBytes(data), fileName);
}

void AlbumTagEditor::loadArtwork(const FileUrl& url) {
    importArtwork(importOfFile(url), displayText(url.lastPathComponent()));
}

void AlbumTagEditor::pasteArtwork(const QMimeData& clipboard) {
    const QString name = QStringLiteral("Clipboard");
    const OfferedArtwork offered = offeredArtwork(clipboard);
    if (const auto* bytes = std::get_if<QByteArray>(&offered)) {
        applyArtworkData(*bytes, name);
    } else if (const auto* image = std::get_if<QImage>(&offered)) {
        importArtwork(importOfImage(*image), name);
    } else if (const auto* file = std::get_if<FileUrl>(&offered)) {
        loadArtwork(*file);
    } else {
        errorMessage = QStringLiteral("The clipboard does not contain an image.");
    }
}

void AlbumTagEditor::importArtwork(ArtworkImport work, const QString& fileName) {
    isImportingArtwork = true;
    errorMessage = std::nullopt;
    importTask_.start([&](std::stop_token token) {
        return importTask(std::move(work), fileName, std::move(token));
    });
}

Task<> AlbumTagEditor::importTask(ArtworkImport work, QString fileName, std::stop_token token) {
    auto job = applicationOwned<ImportWorker>().run(
        [work](const std::stop_token&) { return work(); }, token);
    const ImportedArtwork artwork = co_await job;
    if (token.stop_requested()) {
        co_return;
    }
    isImportingArtwork = false;
    if (artwork.data) {
        changeArtwork(artwork.data, fileName);
    } else {
        errorMessage = artwork.error;
    }
}

void AlbumTagEditor::fetchDiscogsCover() {
    if (tracks_.isEmpty()) {
        return;
    }
    const Track& track = tracks_.first();
    const QString trackArtist =
        track.albumArtist().isEmpty() ? track.artist() : track.albumArtist();
    const QString typedArtist = isBlank(albumArtist.text) ? artist.text : albumArtist.text;
    const QString wantedArtist = isBlank(typedArtist) ? trackArtist : typedArtist;
    const QString wantedAlbum = isBlank(album.text) ? track.album() : album.text;
    if (wantedArtist.isEmpty() || wantedAlbum.isEmpty()) {
        errorMessage = QStringLiteral("Artist and album are required to search Discogs.");
        return;
    }
    errorMessage = std::nullopt;
    coverSearch_.start(wantedArtist, wantedAlbum, [this](const std::optional<QByteArray>& cover) {
        if (cover) {
            applyArtworkData(*cover, QStringLiteral("Discogs"));
        } else {
            errorMessage = noCoverFound();
        }
    });
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

QString AlbumTagEditor::note() const {
    const qsizetype writable = writableTracks().size();
    const qsizetype others = tracks_.size() - writable;
    if (others == 0) {
        return QStringLiteral("Changes apply to %1 tracks. Track titles are preserved.")
            .arg(writable);
    }
    return QStringLiteral(
               "Changes apply to %1 MP3/FLAC tracks; %2 unsupported file(s) will be skipped.")
        .arg(writable)
        .arg(others);
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
