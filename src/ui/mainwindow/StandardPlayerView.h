#pragma once

#include <QWidget>

#include "base/Published.h"

namespace halvenor {

class AppState;
class HistoryPanel;
class PlayerBarView;
class SidebarView;
class SplitDivider;
class TrackListPane;

/// What the main window shows unless Cover Mode is on: the sidebar and the track list, divided by a
/// line that can be dragged, above the player bar, and the history over their trailing edge.
class StandardPlayerView : public QWidget {
  public:
    StandardPlayerView(AppState& state, QWidget* parent);

    SidebarView& sidebar() { return *sidebar_; }
    TrackListPane& trackList() { return *trackList_; }
    PlayerBarView& playerBar() { return *playerBar_; }
    HistoryPanel& history() { return *history_; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

  private:
    void layOut();
    void dragDivider(double x);

    SidebarView* sidebar_;
    TrackListPane* trackList_;
    SplitDivider* divider_;
    PlayerBarView* playerBar_;
    HistoryPanel* history_;
    double leftPanelFraction_ = 0.3;
    Subscription historyShown_;
};

}  // namespace halvenor
