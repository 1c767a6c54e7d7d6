#pragma once

#include "editing/TagEditor.h"

namespace halvenor {

/// What the tag editor edits: the selected tracks, or the current one where none is selected. With
/// one track its title and cover too; with several only what they may share. Main thread.
class TrackTagEditor : public TagEditor {
  public:
    /// @param discogs outlives the editor
    explicit TrackTagEditor(AppState& state, DiscogsService& discogs = DiscogsService::shared());

    /// Of the one track; empty with several.
    QString title;
    void changeArtwork(const std::optional<QByteArray>& data) { setArtwork(data); }
    /// Looks for a cover on Discogs, by what the fields say, or the track where they are empty.
    /// Takes it as it is found, or tells that there is none. With one track only.
    void fetchDiscogsCover();

    /// The tracks on show that were selected when the editor opened, in their order; else the
    /// current one; else none.
    const QList<Track>& editingTracks() const { return tracks(); }
    /// What the window says while there is nothing else to tell.
    static QString note();
    /// Saves, unless a save is under way. A file of a kind that can't be written counts as failed.
    void save();

  private:
    Track edited(const Track& track) const;
};

}  // namespace halvenor
