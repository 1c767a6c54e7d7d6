#pragma once

#include <QWidget>

#include <functional>

#include "base/Published.h"

class QLineEdit;

namespace halvenor {

class AppState;
class IconButton;

/// What the sidebar shows.
enum class SidebarSection { folders, playlists };

/// The buttons above the sidebar: which section shows, what can be done in it, and, in a second
/// line, the search field when it is wanted.
class SidebarToolbar : public QWidget {
  public:
    SidebarToolbar(AppState& state, QWidget* parent);

    /// The user wants to see a section.
    std::function<void(SidebarSection)> onSectionChosen;
    std::function<void()> onCreatePlaylist;
    std::function<void()> onImportPlaylist;
    /// It wants another height.
    std::function<void()> onHeightChanged;

    void showSection(SidebarSection section);
    int wantedHeight() const;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    IconButton* makeButton(const QString& symbol, const QString& help);
    bool isSearchWanted() const;
    void setSearchVisible(bool isVisible);
    void makeSearchField();
    void makePlaylistButtons();
    void setTabOrders();
    void refresh();
    void layOut();

    AppState& state_;
    SidebarSection section_ = SidebarSection::folders;
    IconButton* preferences_;
    IconButton* folders_;
    IconButton* playlists_;
    IconButton* search_;
    IconButton* filter_;
    // Made when they are first shown.
    QLineEdit* query_ = nullptr;
    IconButton* import_ = nullptr;
    IconButton* create_ = nullptr;
    Subscriptions subscriptions_;
};

}  // namespace halvenor
