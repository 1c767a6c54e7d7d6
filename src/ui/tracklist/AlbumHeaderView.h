#pragma once

#include <QTimer>
#include <QWidget>

#include "base/Published.h"
#include "ui/tracklist/AlbumSummary.h"

class QMenu;

namespace halvenor {

class AppState;
class CoverView;
class Spinner;
class TextButton;

/// The head of the track list: the cover, what the album is, and the folder's mark.
class AlbumHeaderView : public QWidget {
  public:
    AlbumHeaderView(AppState& state, QWidget* parent);

    /// Shows the present tracks at once, as after a change of folder.
    void refresh();
    /// Shows the present tracks soon: many changes in a row are one repaint.
    void refreshSoon();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    void fillMenu(QMenu& menu);
    void showCover();
    void editTags();
    void refreshMark();
    void refreshProgress();
    void layOut();
    QRect textRect() const;
    QString itemsLine() const;

    AppState& state_;
    AlbumSummary summary_;
    CoverView* cover_;
    TextButton* mark_;
    Spinner* progress_;
    QTimer refreshTimer_;
    Subscriptions subscriptions_;
};

}  // namespace halvenor
