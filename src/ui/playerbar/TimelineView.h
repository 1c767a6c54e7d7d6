#pragma once

#include <QWidget>

#include <functional>

#include "base/Published.h"
#include "ui/controls/ThinSlider.h"

namespace halvenor {

class AppState;
class TimeLabel;
class WaveformView;

/// Where the track is: the elapsed time, a control that shows and changes the place, the whole
/// time. The control is the waveform, or a plain slider where that is turned off.
///
/// The engine tells its time ten times a second. Here that costs a comparison or two, unless a
/// digit or a device pixel changes; and nothing while the window can't be seen.
class TimelineView : public QWidget {
  public:
    struct Look {
        std::function<QColor()> surface;
        Surround surround = Surround::theme;
        ThinSlider::Metrics slider = ThinSlider::thin;
        int controlHeight = 28;
        /// The times stand at the row's ends, else beside the control.
        bool areTimesAtEnds = false;
    };

    TimelineView(AppState& state, const Look& look, QWidget* parent);

    /// Brings the time up to now: it can be seen again.
    void refreshTime();

    ThinSlider& slider() { return *slider_; }
    WaveformView& waveform() { return *waveform_; }

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    void wireControls();
    void subscribe();
    bool canBeSeen() const;
    void refreshDuration();
    void followTime();
    void chooseControl();
    void layOut();

    AppState& state_;
    int controlHeight_;
    TimeLabel* elapsed_;
    ThinSlider* slider_;
    WaveformView* waveform_;
    TimeLabel* total_;
    Subscriptions subscriptions_;
};

}  // namespace halvenor
