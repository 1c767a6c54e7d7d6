#pragma once

#include <QTimer>
#include <QWidget>

#include "base/Published.h"

namespace halvenor {

class AlbumHeaderView;
class AppState;
class Spinner;
class TrackListView;

/// The centre of the window: the album header above the tracks on show, or, with none, a quiet word
/// on why.
class TrackListPane : public QWidget {
  public:
    TrackListPane(AppState& state, QWidget* parent);

    TrackListView& list() { return *list_; }
    AlbumHeaderView& header() { return *header_; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void showQueue();
    void refreshEmptiness();
    QByteArray source() const;
    bool isLoading() const;
    QString emptyText() const;

    AppState& state_;
    AlbumHeaderView* header_;
    TrackListView* list_;
    Spinner* spinner_;
    QTimer spinnerDelay_;
    Subscriptions subscriptions_;
};

}  // namespace halvenor
