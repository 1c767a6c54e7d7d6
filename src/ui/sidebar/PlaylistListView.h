#pragma once

#include "base/Published.h"
#include "ui/controls/PaddedListView.h"
#include "ui/sidebar/PlaylistListModel.h"

namespace halvenor {

class AppState;
class PlaylistActions;

/// The playlists. A click or Return opens one; the arrow keys walk the rows.
class PlaylistListView : public PaddedListView {
  public:
    /// @param actions outlives it
    PlaylistListView(AppState& state, PlaylistActions& actions, QWidget* parent);

    /// Scrolls to a playlist; the arrow keys go on from there.
    void showRow(const QUuid& id);

    void paintRow(QPainter& painter, const QRect& rect, int row) const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void rowClicked(int row, const QPoint& place, Qt::KeyboardModifiers modifiers) override;

  private:
    void showPlaylists();
    void setCursorRow(int row);
    int cursorRow() const;
    void moveCursor(int by);
    void open(int row);
    void showMenu(int row, const QPoint& globalPlace);
    bool isOpen(const Playlist& playlist) const;

    AppState& state_;
    PlaylistActions& actions_;
    PlaylistListModel* model_;
    Subscriptions subscriptions_;
};

}  // namespace halvenor
