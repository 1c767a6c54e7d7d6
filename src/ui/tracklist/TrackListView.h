#pragma once

#include <QTimer>

#include "base/Published.h"
#include "ui/controls/PaddedListView.h"
#include "ui/tracklist/TrackListModel.h"

namespace halvenor {

class AppState;

/// The rows of the tracks on show. The selection is AppState's; here is only the row that the arrow
/// keys start from.
class TrackListView : public PaddedListView {
  public:
    static constexpr int rowHeight = 44;

    TrackListView(AppState& state, QWidget* parent);

    /// Takes over the tracks on show. Records that changed in place are repainted soon, many
    /// changes at a time. @return whether the rows are others
    bool showTracks(const TrackList& tracks);

    void paintRow(QPainter& painter, const QRect& rect, int row) const override;

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void rowPressed(int row, const QPoint& place, Qt::KeyboardModifiers modifiers) override;
    void rowDoubleClicked(int row, const QPoint& place, Qt::KeyboardModifiers modifiers) override;

  private:
    void selectOnly(int row);
    void moveSelection(int by);
    void setCursorRow(int row);
    int cursorRow() const;
    bool isSelected(const Track& track) const;
    bool isPlaying(const Track& track) const;

    AppState& state_;
    TrackListModel* model_;
    QTimer repaintTimer_;
    Subscriptions subscriptions_;
};

}  // namespace halvenor
