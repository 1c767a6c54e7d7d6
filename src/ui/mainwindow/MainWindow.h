#pragma once

#include <QWidget>

#include <memory>

#include "base/Published.h"

namespace halvenor {

class AppState;
class DesktopPreferences;
class ErrorSheet;
class HistoryPanel;
class KeyMonitor;
class PlayerBarView;
class SidebarView;
class SplitDivider;
class TrackListPane;
class WindowPrompts;
enum class WindowAction;

/// The main window: the sidebar and the track list above the player bar, the history and errors
/// over them, and the keyboard of the whole.
///
/// It shows one AppState, which outlives it, and holds nothing but how it looks: it may be closed
/// and made again at any time.
class MainWindow : public QWidget {
  public:
    /// @param state,preferences outlive it
    MainWindow(AppState& state, DesktopPreferences& preferences);
    ~MainWindow() override;

    SidebarView& sidebar() { return *sidebar_; }
    TrackListPane& trackList() { return *trackList_; }
    PlayerBarView& playerBar() { return *playerBar_; }
    HistoryPanel& history() { return *history_; }
    void toggleHistory();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void layOut();
    void dragDivider(double x);
    void perform(WindowAction action);
    void showError();

    AppState& state_;
    SidebarView* sidebar_;
    TrackListPane* trackList_;
    SplitDivider* divider_;
    PlayerBarView* playerBar_;
    HistoryPanel* history_;
    ErrorSheet* errorSheet_ = nullptr;  // made with the first error
    KeyMonitor* keyMonitor_;
    double leftPanelFraction_ = 0.3;
    bool hasBeenShown_ = false;
    Subscriptions subscriptions_;
    /// The last: what it cancels at the window's end may still be shown by the rest.
    std::unique_ptr<WindowPrompts> prompts_;
};

}  // namespace halvenor
