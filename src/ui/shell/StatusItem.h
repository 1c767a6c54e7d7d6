#pragma once

#include <QMenu>
#include <QSystemTrayIcon>

#include "base/Published.h"

namespace halvenor {

class AppState;

/// The entries of the status item's menu, kept true while the state changes: a tray may show them
/// at any moment, in another process.
class StatusMenu : public QMenu {
  public:
    explicit StatusMenu(AppState& state);

  private:
    void refresh();

    AppState& state_;
    QAction* playPause_;
    QAction* like_;
    QAction* mute_;
    Subscriptions subscriptions_;
};

/// The player in the desktop's tray: a note, whose menu steers the playback, shows the window and
/// ends the program; a click on it shows the window. Without a tray nothing is seen, and nothing
/// fails. Main thread.
class StatusItem {
  public:
    /// @param state outlives it
    explicit StatusItem(AppState& state);

  private:
    StatusMenu menu_;
    QSystemTrayIcon icon_;
};

}  // namespace halvenor
