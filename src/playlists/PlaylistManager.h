#pragma once

#include <QSet>

#include <stop_token>

#include "base/MoveTable.h"
#include "base/Published.h"
#include "base/StoreFile.h"
#include "base/Task.h"
#include "model/Track.h"
#include "model/TrackList.h"
#include "playlists/Playlist.h"

namespace halvenor {

/// The playlists, saved after every change. The favourites are the first playlist named
/// "Favorites", made when first asked for.
///
/// Operations with an id that is not there do nothing. A file that can't be read gives no playlists
/// (and is kept aside before it is overwritten); one that can't be written is tried again with the
/// next save. Main thread; files are read and written off it.
class PlaylistManager {
  public:
    static const QString favoritesName;

    /// Reads the file; a missing one is an empty list.
    explicit PlaylistManager(const FileUrl& storageURL);
    ~PlaylistManager() { ending_.request_stop(); }
    PlaylistManager(const PlaylistManager&) = delete;
    PlaylistManager& operator=(const PlaylistManager&) = delete;

    /// In order of creation.
    Published<Playlists> playlists;
    const FileUrl& storageURL() const { return file_.url(); }

    /// The name is taken as it stands; tracks may be there twice. @return what was made
    Playlist createPlaylist(const QString& name, const QList<Track>& tracks);
    void deletePlaylist(const QUuid& id);
    /// White space around the name is taken off; a name of nothing else changes nothing.
    void rename(const QUuid& id, const QString& name);
    /// Adds the track unless the playlist has it.
    void addTrack(const Track& track, const QUuid& id);
    /// Adds, in order, those the playlist does not have yet; saves once.
    void addTracks(const QList<Track>& tracks, const QUuid& id);
    /// Removes the track wherever its place occurs, however it is written ("/m/./a" is "/m/a").
    void removeTrack(const Track& track, const QUuid& id);
    /// The favourites; makes them if there are none.
    Playlist favoritesPlaylist();
    /// Standardised paths of the favourites.
    QSet<QByteArray> favoriteTrackPaths() const;
    /// Rewrites every list through the table. Of entries that come to one path the first stays.
    void relocatePaths(const MoveTable& moves);

    /// Adds a playlist from an M3U file, named as the file: a path a line, "#" lines left out, each
    /// taken literally; a relative one starts from the process's working folder.
    /// @return what was made. @throws Error (io); Error (format) for what is not UTF-8 text, or
    /// more than 64 MiB of it; Cancelled when the manager has gone meanwhile
    Task<Playlist> importM3U(FileUrl url);
    /// Writes the playlist's paths as they are now into an M3U file, atomically.
    /// @throws Error (io); Error (format), before anything is written, for a path with a newline;
    /// Cancelled when the manager went before it began
    Task<> exportToM3U(Playlist playlist, FileUrl destination);

    /// The playlist's tracks with their tags, in order; missing files are left out. A stopped call
    /// returns early with what is no result.
    Task<TrackList> resolveTracks(Playlist playlist, std::stop_token token = {});

    /// Waits until the file is written. @return whether it holds the playlists
    bool flush() { return file_.flush(); }

  private:
    void publish(Playlists changed);
    Playlist append(const QString& name, const QList<FileUrl>& urls);

    StoreFile file_;
    std::stop_source ending_;
    Service lookups_;    // which files are there
    Service transfers_;  // M3U files
};

}  // namespace halvenor
