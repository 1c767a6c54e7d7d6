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
class TimeLabel;
class TrackSummaryView;

/// The strip at the bottom of the window: the current track and everything that steers it.
///
/// The engine tells its time ten times a second. Here that costs a comparison or two, unless a
/// digit or a device pixel of the knob changes; and nothing while the window can't be seen.
class PlayerBarView : public QWidget {
  public:
    PlayerBarView(AppState& state, QWidget* parent);

    std::function<void()> onHistoryToggled;

    /// The history shows or hides: its button is lit with it.
    void setHistoryShown(bool isShown);
    /// Brings the time up to now: the window can be seen again.
    void refreshTime();

    ThinSlider& timeline() { return *timeline_; }
    ThinSlider& volumeSlider() { return *volume_; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    IconButton* makeButton(const QString& symbol, double size, const QString& name,
                           std::function<void()> action);
    void wireSliders();
    void subscribe();
    void refreshTrack();
    void refreshDuration();
    void followTime();
    void refreshTransport();
    void refreshModes();
    void refreshVolume();
    static QColor surface();
    void layOut();
    void copyTrackInfo() const;
    void showMenu();
    std::optional<Track> shownTrack() const;
    bool canBeSeen() const;

    AppState& state_;
    TrackSummaryView* summary_;
    IconButton* previous_;
    IconButton* play_;
    IconButton* next_;
    TimeLabel* elapsed_;
    ThinSlider* timeline_;
    TimeLabel* total_;
    IconButton* shuffle_;
    IconButton* repeat_;
    IconButton* mute_;
    ThinSlider* volume_;
    IconButton* history_;
    IconButton* menu_;
    Subscriptions subscriptions_;
};

}  // namespace halvenor
