#pragma once

#include "editing/ArtworkImport.h"
#include "editing/TagEditor.h"

namespace halvenor {

/// What the album editor edits: the texts, the year and the cover that the tracks of one folder
/// share. Titles are never touched. The cover is at first the one of the first track that has any.
/// Main thread.
class AlbumTagEditor : public TagEditor {
  public:
    /// @param discogs outlives the editor
    AlbumTagEditor(AppState& state, const QList<Track>& tracks,
                   DiscogsService& discogs = DiscogsService::shared());

    /// As typed. Empty leaves every track's year alone.
    QString year;
    bool yearWasMultiple() const { return yearWasMultiple_; }

    /// The name of the chosen image's file.
    Published<std::optional<QString>> selectedArtworkFileName;
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

    /// Those whose files can be written, in order. The others are left alone.
    QList<Track> writableTracks() const;
    /// What a save will do, as the window says it while there is nothing else to tell.
    QString note() const;
    /// Saves, unless a save is under way.
    void save();

  private:
    void importArtwork(ArtworkImport work, const QString& fileName);
    Task<> importTask(ArtworkImport work, QString fileName, std::stop_token token);
    Track edited(const Track& track, std::optional<int64_t> newYear) const;

    bool yearWasMultiple_ = false;
    TaskSlot importTask_;
};

}  // namespace halvenor
