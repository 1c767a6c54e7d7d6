#pragma once

#include <QWidget>

#include <functional>

#include "base/Task.h"
#include "playlists/Playlist.h"

namespace halvenor {

class AppState;

/// What the user can do with playlists as wholes, with the questions that go with it: sheets and
/// file dialogs over the window of `host`.
class PlaylistActions {
  public:
    /// @param host outlives it
    PlaylistActions(AppState& state, QWidget& host) : state_(state), host_(host) {}

    /// A playlist has been made.
    std::function<void(const QUuid&)> onMade;

    /// Asks for a name; one of nothing but white space makes nothing.
    void create();
    void rename(const Playlist& playlist);
    void remove(const Playlist& playlist);
    void importM3u();
    void exportM3u(const Playlist& playlist);

    /// The favourites can be renamed, but not deleted.
    static bool isFavorites(const Playlist& playlist);

  private:
    void made(const Playlist& playlist);
    Task<> importFrom(FileUrl file);
    Task<> exportTo(FileUrl file, Playlist playlist);

    AppState& state_;
    QWidget& host_;
};

}  // namespace halvenor
