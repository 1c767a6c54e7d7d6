#pragma once

#include <QWidget>

#include "base/Published.h"

namespace halvenor {

class AppState;
class FolderTreeView;
class NoFoldersHint;
class SidebarToolbar;

/// The left pane: a toolbar, and beneath it the folder tree or, in an empty library, a hint.
class SidebarView : public QWidget {
  public:
    SidebarView(AppState& state, QWidget* parent);

    FolderTreeView& tree() { return *tree_; }
    /// Lets the user choose a folder, which is then added and opened. Blocks nothing.
    void openFolderPicker();

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    void refresh();

    AppState& state_;
    SidebarToolbar* toolbar_;
    FolderTreeView* tree_;
    NoFoldersHint* hint_;
    Subscription subscription_;
};

}  // namespace halvenor
