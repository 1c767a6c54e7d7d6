#pragma once

#include <QObject>

#include <functional>

#include "editing/CoverSearch.h"
#include "editing/TagDraft.h"
#include "editing/TagSaving.h"

namespace halvenor {

/// What both tag editors have: the tracks, the texts that they may share, a cover, the search for
/// one, and the save. The window binds its fields to these values. Main thread.
class TagEditor : public QObject {
  public:
    DraftText artist;
    DraftText album;
    DraftText albumArtist;
    /// The cover, or what was chosen since.
    Published<std::optional<QByteArray>> selectedArtworkData;
    bool artworkWasChanged() const { return artworkWasChanged_; }
    Published<bool>& isSearchingCover() { return coverSearch_.isSearching; }

    Published<bool> isSaving{false};
    Published<std::optional<QString>> errorMessage;
    /// Everything was saved: the window may close.
    std::function<void()> onDismiss;

    const QList<Track>& tracks() const { return tracks_; }

  protected:
    /// @param discogs outlives the editor
    TagEditor(AppState& state, const QList<Track>& tracks, DiscogsService& discogs);

    void setArtwork(const std::optional<QByteArray>& data);
    /// Puts what was typed for all tracks, and leaves what stood for different texts.
    void applyTexts(Track& track) const;
    /// Puts the cover, if it was changed.
    void applyArtwork(Track& track) const;
    /// Looks on Discogs; tells when there is nothing.
    void searchCover(const QString& searchedArtist, const QString& searchedAlbum,
                     std::function<void(const QByteArray&)> onFound);
    /// Saves `changed`; the editor is dismissed, or tells which files failed.
    void startSaving(const QList<Track>& changed);

  private:
    Task<> saveTask(QList<Track> changed);

    QPointer<AppState> state_;
    QList<Track> tracks_;
    bool artworkWasChanged_ = false;
    CoverSearch coverSearch_;
};

}  // namespace halvenor
