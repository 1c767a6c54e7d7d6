#pragma once

#include <QPointer>

#include <chrono>
#include <memory>

#include "base/Published.h"
#include "base/Task.h"
#include "platform/tray/TrayWatch.h"
#include "ui/mainwindow/MainWindow.h"

namespace halvenor {

class AppState;
class DesktopPreferences;
class StatusItem;

/// The outermost layer: the main window, which may be closed and made again while the music plays
/// on, and the status item that stays. The program ends by its own command alone. Main thread.
class ApplicationShell {
  public:
    /// @param state,preferences outlive it
    ApplicationShell(AppState& state, DesktopPreferences& preferences);
    ApplicationShell(const ApplicationShell&) = delete;
    ApplicationShell& operator=(const ApplicationShell&) = delete;
    ~ApplicationShell();

    /// Brings the one main window to the front: restored if it is minimised, made anew if it was
    /// closed.
    void showMainWindow();
    /// The main window, or null while it is closed.
    MainWindow* mainWindow() { return window_; }

    /// Puts the status item into the desktop's tray as soon as there is one and it is certain that
    /// this makes nothing wait.
    /// @param delay before the first look; the window comes first
    void startStatusItem(std::chrono::milliseconds delay);

  private:
    void foundTray();
    Task<> placeStatusItem(std::stop_token token);

    AppState& state_;
    DesktopPreferences& preferences_;
    QPointer<MainWindow> window_;
    std::unique_ptr<StatusItem> statusItem_;
    TrayWatch tray_;
    Service worker_;
    TaskSlot statusItemTask_;
    Subscription motion_;
};

}  // namespace halvenor
