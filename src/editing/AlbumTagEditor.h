#pragma once

#include <QObject>

#include <functional>

#include "editing/TagDraft.h"
#include "editing/TagSaving.h"

namespace halvenor {

/// What the album editor edits: the texts, the year and the cover that the tracks of one folder
/// share. Titles are never touched. The window binds its fields to these values. Main thread.
class AlbumTagEditor : public QObject {
  public:
    AlbumTagEditor(AppState& state, const QList<Track>& tracks);

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

    Published<bool> isSaving{false};
    Published<std::optional<QString>> errorMessage;
    /// Everything was saved: the window may close.
    std::function<void()> onDismiss;

    const QList<Track>& tracks() const { return tracks_; }
    /// Those whose files can be written, in order. The others are left alone.
    QList<Track> writableTracks() const;
    /// Saves, unless a save is under way.
    void save();

  private:
    Task<> saveTask(QList<Track> edited);
    Track edited(const Track& track, std::optional<int64_t> newYear) const;

    QPointer<AppState> state_;
    QList<Track> tracks_;
    bool yearWasMultiple_ = false;
    bool artworkWasChanged_ = false;
};

}  // namespace halvenor
