#pragma once

#include <QObject>

#include <functional>

#include "editing/CoverSearch.h"
#include "editing/TagDraft.h"
#include "editing/TagSaving.h"

namespace halvenor {

/// What the tag editor edits: the selected tracks, or the current one where none is selected. With
/// one track its title and cover too; with several only what they may share. Main thread.
class TrackTagEditor : public QObject {
  public:
    /// @param discogs outlives the editor
    explicit TrackTagEditor(AppState& state, DiscogsService& discogs = DiscogsService::shared());

    /// Of the one track; empty with several.
    QString title;
    DraftText artist;
    DraftText album;
    DraftText albumArtist;
    /// The one track's cover, or what was chosen since.
    Published<std::optional<QByteArray>> selectedArtworkData;
    bool artworkWasChanged() const { return artworkWasChanged_; }
    void changeArtwork(const std::optional<QByteArray>& data);
    /// Looks for a cover on Discogs, by what the fields say, or the track where they are empty.
    /// Takes it as it is found, or tells that there is none. With one track only.
    void fetchDiscogsCover();
    Published<bool>& isSearchingCover() { return coverSearch_.isSearching; }

    Published<bool> isSaving{false};
    Published<std::optional<QString>> errorMessage;
    /// Everything was saved: the window may close.
    std::function<void()> onDismiss;

    /// The tracks on show that were selected when the editor opened, in their order; else the
    /// current one; else none.
    const QList<Track>& editingTracks() const { return tracks_; }
    /// What the window says while there is nothing else to tell.
    static QString note();
    /// Saves, unless a save is under way. A file of a kind that can't be written counts as failed.
    void save();

  private:
    Task<> saveTask(QList<Track> edited);
    Track edited(const Track& track) const;

    QPointer<AppState> state_;
    QList<Track> tracks_;
    bool artworkWasChanged_ = false;
    CoverSearch coverSearch_;
};

}  // namespace halvenor
