#pragma once

#include <QWidget>

#include <functional>

#include "base/Published.h"

class QLineEdit;

namespace halvenor {

class AppState;
class IconButton;

/// The buttons above the folder tree, and the search field when it is wanted.
class SidebarToolbar : public QWidget {
  public:
    SidebarToolbar(AppState& state, QWidget* parent);

    /// The user wants to choose a folder to add.
    std::function<void()> onAddFolder;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    bool isSearchVisible() const;
    void setSearchVisible(bool isVisible);
    void makeSearchField();
    void refresh();
    void layOut();

    AppState& state_;
    IconButton* search_;
    IconButton* filter_;
    IconButton* add_;
    QLineEdit* query_ = nullptr;  // made when it is first shown
    Subscriptions subscriptions_;
};

}  // namespace halvenor
