#pragma once

#include <QWidget>

#include <functional>
#include <optional>

#include "base/Published.h"
#include "model/Track.h"

namespace halvenor {

class AppState;
class IconButton;
class ThinSlider;
class TimelineView;
class TrackSummaryView;

/// The strip at the bottom of the window: the current track and everything that steers it.
class PlayerBarView : public QWidget {
  public:
    PlayerBarView(AppState& state, QWidget* parent);

    /// Brings the time up to now: the window can be seen again.
    void refreshTime();

    TimelineView& timeline() { return *timeline_; }
    ThinSlider& volumeSlider() { return *volume_; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    IconButton* makeButton(const QString& symbol, double size, const QString& name,
                           std::function<void()> action);
    void wireVolume();
    void subscribe();
    void refreshTrack();
    void refreshTransport();
    void refreshModes();
    void refreshVolume();
    static QColor surface();
    void layOut();
    void copyTrackInfo() const;
    void showMenu();

    AppState& state_;
    TrackSummaryView* summary_;
    IconButton* previous_;
    IconButton* play_;
    IconButton* next_;
    TimelineView* timeline_;
    IconButton* shuffle_;
    IconButton* repeat_;
    IconButton* mute_;
    ThinSlider* volume_;
    IconButton* coverMode_;
    IconButton* history_;
    IconButton* menu_;
    Subscriptions subscriptions_;
};

}  // namespace halvenor
