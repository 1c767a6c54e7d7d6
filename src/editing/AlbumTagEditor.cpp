#include "editing/AlbumTagEditor.h"

#include <QMimeData>

#include "base/ApplicationOwned.h"
#include "tags/TagService.h"

namespace halvenor {

namespace {

// Shared, so that closing an editor never waits for an image.
class ImportWorker : public Service {};

bool isBlank(const QString& text) {
    return text.trimmed().isEmpty();
}

}  // namespace

AlbumTagEditor::AlbumTagEditor(AppState& state, const QList<Track>& tracks, DiscogsService& discogs)
    : TagEditor(state, tracks, discogs) {
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
    selectedArtworkFileName = fileName;
    setArtwork(data);
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
    if (tracks().isEmpty()) {
        return;
    }
    const Track& track = tracks().first();
    const QString trackArtist =
        track.albumArtist().isEmpty() ? track.artist() : track.albumArtist();
    const QString typedArtist = isBlank(albumArtist.text) ? artist.text : albumArtist.text;
    const QString wantedArtist = isBlank(typedArtist) ? trackArtist : typedArtist;
    const QString wantedAlbum = isBlank(album.text) ? track.album() : album.text;
    if (wantedArtist.isEmpty() || wantedAlbum.isEmpty()) {
        errorMessage = QStringLiteral("Artist and album are required to search Discogs.");
        return;
    }
    searchCover(wantedArtist, wantedAlbum, [this](const QByteArray& cover) {
        applyArtworkData(cover, QStringLiteral("Discogs"));
    });
}

QList<Track> AlbumTagEditor::writableTracks() const {
    QList<Track> writable;
    for (const Track& track : tracks()) {
        if (TagService::supportsTagWriting(track.url())) {
            writable.append(track);
        }
    }
    return writable;
}

QString AlbumTagEditor::note() const {
    const qsizetype writable = writableTracks().size();
    const qsizetype others = tracks().size() - writable;
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
    applyTexts(copy);
    if (newYear) {
        copy.setYear(newYear);
    }
    applyArtwork(copy);
    return copy;
}

void AlbumTagEditor::save() {
    if (*isSaving) {
        return;
    }
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
    startSaving(changed);
}

}  // namespace halvenor
