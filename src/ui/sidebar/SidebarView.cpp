#include "ui/sidebar/SidebarView.h"

#include "state/AppState.h"
#include "ui/sidebar/FolderTreeView.h"
#include "ui/sidebar/NoFoldersHint.h"
#include "ui/sidebar/PlaylistListView.h"

namespace halvenor {

SidebarView::SidebarView(AppState& state, QWidget* parent)
    : QWidget(parent),
      state_(state),
      playlistActions_(state, *this),
      toolbar_(new SidebarToolbar(state, this)),
      tree_(new FolderTreeView(state, this)),
      hint_(new NoFoldersHint(state, this)) {
    toolbar_->onSectionChosen = [this](SidebarSection section) { showSection(section); };
    toolbar_->onCreatePlaylist = [this] { playlistActions_.create(); };
    toolbar_->onImportPlaylist = [this] { playlistActions_.importM3u(); };
    toolbar_->onHeightChanged = [this] { layOut(); };
    playlistActions_.onMade = [this](const QUuid& id) {
        if (playlists_ != nullptr) {
            playlists_->showRow(id);
        }
    };
    subscriptions_.push_back(state_.rootFolders.subscribe([this](const auto&) { refresh(); }));
    subscriptions_.push_back(state_.folderScrollRequest.subscribe([this](const auto& request) {
        if (request) {
            showSection(SidebarSection::folders);
        }
    }));
    refresh();
}

void SidebarView::makePlaylists() {
    playlists_ = new PlaylistListView(state_, playlistActions_, this);
    setTabOrder(tree_, playlists_);
    layOut();
}

void SidebarView::showSection(SidebarSection section) {
    if (section == section_) {
        return;
    }
    section_ = section;
    if (section == SidebarSection::playlists && playlists_ == nullptr) {
        makePlaylists();
    }
    QWidget* shown = section == SidebarSection::playlists ? static_cast<QWidget*>(playlists_)
                                                          : static_cast<QWidget*>(tree_);
    const QWidget* focused = window()->focusWidget();
    toolbar_->showSection(section);
    refresh();
    if (isAncestorOf(focused) && !focused->isVisible()) {
        shown->setFocus(Qt::OtherFocusReason);
    }
}

void SidebarView::refresh() {
    const bool isFolders = section_ == SidebarSection::folders;
    const bool isEmpty = state_.rootFolders->empty();
    const bool wasInHint = hint_->isAncestorOf(window()->focusWidget());
    tree_->setVisible(isFolders && !isEmpty);
    if (wasInHint && tree_->isVisible()) {
        tree_->setFocus(Qt::OtherFocusReason);
    }
    hint_->setVisible(isFolders && isEmpty);
    if (playlists_ != nullptr) {
        playlists_->setVisible(!isFolders);
    }
}

void SidebarView::layOut() {
    const int top = toolbar_->wantedHeight();
    toolbar_->setGeometry(0, 0, width(), top);
    const QRect rest(0, top, width(), height() - top);
    tree_->setGeometry(rest);
    hint_->setGeometry(rest);
    if (playlists_ != nullptr) {
        playlists_->setGeometry(rest);
    }
}

void SidebarView::resizeEvent(QResizeEvent*) {
    layOut();
}

}  // namespace halvenor
