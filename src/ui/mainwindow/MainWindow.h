#pragma once

#include <QWidget>

#include <memory>

#include "base/Published.h"

namespace halvenor {

class AppState;
class CoverModeView;
class DesktopPreferences;
class ErrorSheet;
class HistoryPanel;
class KeyMonitor;
class PlayerBarView;
class SettingsView;
class SidebarView;
class StandardPlayerView;
class TrackListPane;
class WindowPrompts;
enum class WindowAction;

/// The main window: the standard player, or Cover Mode in its place, the sheets over them, and the
/// keyboard of the whole.
///
/// It shows one AppState, which outlives it, and holds nothing but how it looks: it may be closed
/// and made again at any time.
class MainWindow : public QWidget {
  public:
    /// @param state,preferences outlive it
    MainWindow(AppState& state, DesktopPreferences& preferences);
    ~MainWindow() override;

    SidebarView& sidebar();
    TrackListPane& trackList();
    PlayerBarView& playerBar();
    HistoryPanel& history();
    /// Null until each was first shown.
    CoverModeView* coverMode() { return coverMode_; }
    SettingsView* settings() { return settings_; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void subscribe(DesktopPreferences& preferences);
    void perform(WindowAction action);
    void performOnCurrentTrack(WindowAction action);
    void showError();
    void showSettings(bool isPresented);
    void showCoverMode(bool isPresented);
    void setWindowFullScreen(bool isFullScreen);

    AppState& state_;
    StandardPlayerView* standard_;
    // Made when they are first shown.
    CoverModeView* coverMode_ = nullptr;
    SettingsView* settings_ = nullptr;
    ErrorSheet* errorSheet_ = nullptr;
    KeyMonitor* keyMonitor_;
    bool hasBeenShown_ = false;
    Subscriptions subscriptions_;
    /// The last: what it cancels at the window's end may still be shown by the rest.
    std::unique_ptr<WindowPrompts> prompts_;
};

}  // namespace halvenor
