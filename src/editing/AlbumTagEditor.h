#pragma once

#include <QObject>

#include <functional>

#include "editing/ArtworkImport.h"
#include "editing/CoverSearch.h"
#include "editing/TagDraft.h"
#include "editing/TagSaving.h"

namespace halvenor {

/// What the album editor edits: the texts, the year and the cover that the tracks of one folder
/// share. Titles are never touched. The window binds its fields to these values. Main thread.
class AlbumTagEditor : public QObject {
  public:
    /// @param discogs outlives the editor
    AlbumTagEditor(AppState& state, const QList<Track>& tracks,
                   DiscogsService& discogs = DiscogsService::shared());

    DraftText album;
    DraftText artist;
    DraftText albumArtist;
    /// As typed. Empty leaves every track's year alone.
    QString year;
    bool yearWasMultiple() const { return yearWasMultiple_; }

    /// The cover: the first that any track has, or what was chosen since.
    Published<std::optional<QByteArray>> selectedArtworkData;
    /// The name of the chosen image's file.
    Published<std::optional<QString>> selectedArtworkFileName;
    bool artworkWasChanged() const { return artworkWasChanged_; }
    /// Takes another cover, or none. @param fileName of the image, where it came from a file
    void changeArtwork(const std::optional<QByteArray>& data,
                       const std::optional<QString>& fileName = std::nullopt);
    /// Takes an image of any kind that can be read, once it is in the form that files take; tells
    /// when it is none. Another image that comes meanwhile replaces it.
    void applyArtworkData(const QByteArray& data, const QString& fileName);
    /// The same with the image in a file.
    void loadArtwork(const FileUrl& url);
    /// The same with what a clipboard has: an image, or else a file. Tells when it has neither.
    void pasteArtwork(const QMimeData& clipboard);
    Published<bool> isImportingArtwork{false};
    /// Looks for a cover on Discogs, by what the fields say, or the first track where they are
    /// blank. Takes it, or tells that there is none.
    void fetchDiscogsCover();
    Published<bool>& isSearchingCover() { return coverSearch_.isSearching; }

    Published<bool> isSaving{false};
    Published<std::optional<QString>> errorMessage;
    /// Everything was saved: the window may close.
    std::function<void()> onDismiss;

    const QList<Track>& tracks() const { return tracks_; }
    /// Those whose files can be written, in order. The others are left alone.
    QList<Track> writableTracks() const;
    /// What a save will do, as the window says it while there is nothing else to tell.
    QString note() const;
    /// Saves, unless a save is under way.
    void save();

  private:
    Task<> saveTask(QList<Track> edited);
    void importArtwork(ArtworkImport work, const QString& fileName);
    Task<> importTask(ArtworkImport work, QString fileName, std::stop_token token);
    Track edited(const Track& track, std::optional<int64_t> newYear) const;

    QPointer<AppState> state_;
    QList<Track> tracks_;
    bool yearWasMultiple_ = false;
    bool artworkWasChanged_ = false;
    TaskSlot importTask_;
    CoverSearch coverSearch_;
};

}  // namespace halvenor
