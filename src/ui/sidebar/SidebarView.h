#pragma once

#include <QWidget>

#include "base/Published.h"
#include "ui/sidebar/PlaylistActions.h"
#include "ui/sidebar/SidebarToolbar.h"

namespace halvenor {

class AppState;
class FolderTreeView;
class NoFoldersHint;
class PlaylistListView;

/// The left pane: a toolbar, and beneath it one of two sections: the folder tree (a hint in an
/// empty library) or the playlists.
class SidebarView : public QWidget {
  public:
    SidebarView(AppState& state, QWidget* parent);

    FolderTreeView& tree() { return *tree_; }
    /// Null until that section was first shown.
    PlaylistListView* playlists() { return playlists_; }
    SidebarSection section() const { return section_; }
    void showSection(SidebarSection section);

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    void makePlaylists();
    void refresh();
    void layOut();

    AppState& state_;
    SidebarSection section_ = SidebarSection::folders;
    PlaylistActions playlistActions_;
    SidebarToolbar* toolbar_;
    FolderTreeView* tree_;
    NoFoldersHint* hint_;
    PlaylistListView* playlists_ = nullptr;
    Subscriptions subscriptions_;
};

}  // namespace halvenor
