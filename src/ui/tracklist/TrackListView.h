#pragma once

#include <QHash>
#include <QTimer>

#include <functional>

#include "base/Published.h"
#include "ui/controls/PaddedListView.h"
#include "ui/tracklist/TrackListModel.h"
#include "ui/tracklist/TrackRowParts.h"

namespace halvenor {

class AppState;

/// The rows of the tracks on show. The selection is AppState's; here is only the row that the arrow
/// keys start from.
class TrackListView : public PaddedListView {
  public:
    TrackListView(AppState& state, QWidget* parent);

    /// Takes over the tracks on show. Those of another source are shown from the top; of the same
    /// one, rows that stay keep their places. Records that changed in place are repainted soon,
    /// many changes at a time.
    /// @param source what they are the tracks of: a folder's or a playlist's id
    /// @return whether it is another list
    bool showTracks(const TrackList& tracks, const QByteArray& source);

    /// Called by the context menu to edit the tags of the selected track.
    std::function<void()> onShowTagInfo;

    void paintRow(QPainter& painter, const QRect& rect, int row) const override;

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void rowPressed(int row, const QPoint& place, Qt::KeyboardModifiers modifiers) override;
    void rowClicked(int row, const QPoint& place, Qt::KeyboardModifiers modifiers) override;
    void rowDoubleClicked(int row, const QPoint& place, Qt::KeyboardModifiers modifiers) override;
    void pointerMoved(int row, const QPoint& place) override;
    bool viewportEvent(QEvent* event) override;

  private:
    void selectOnly(int row);
    void moveSelection(int by);
    void setCursorRow(int row);
    int cursorRow() const;
    bool isSelected(const Track& track) const;
    bool isPlaying(const Track& track) const;
    QList<Track> selectedTracks() const;
    TrackRowParts partsOf(int row) const;
    bool isOnHeart(int row, const QPoint& place) const;
    void pressHeart(int row);
    void updateHeart(int row);
    void updateHearts();
    void paintHeart(QPainter& painter, const QRectF& place, int row) const;

    AppState& state_;
    TrackListModel* model_;
    QByteArray source_;
    QTimer repaintTimer_;
    int hotHeart_ = -1;      // the row whose heart is under the pointer
    int pressedHeart_ = -1;  // or is being pressed
    /// How the hearts that show were painted, by row; older rows may be among them.
    mutable QHash<int, bool> paintedHearts_;
    Subscriptions subscriptions_;
};

}  // namespace halvenor
