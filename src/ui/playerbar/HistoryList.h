#pragma once

#include "base/Published.h"
#include "ui/controls/PaddedListView.h"

namespace halvenor {

class AppState;
class TrackList;
class TrackListModel;

/// The rows of the history.
class HistoryList : public PaddedListView {
  public:
    HistoryList(AppState& state, QWidget* parent);

    /// The colour of the panel, a shade above the panes that it lies over.
    static QColor surface();

    void showTracks(const TrackList& tracks);
    void paintRow(QPainter& painter, const QRect& rect, int row) const override;

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void rowClicked(int row, const QPoint& place, Qt::KeyboardModifiers modifiers) override;

  private:
    void play(int row);

    AppState& state_;
    TrackListModel* model_;
    Subscription coverReady_;
};

}  // namespace halvenor
