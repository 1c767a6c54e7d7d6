#include "ui/playerbar/TimelineView.h"

#include <algorithm>

#include "state/AppState.h"
#include "ui/controls/TimeFormat.h"
#include "ui/playerbar/TimeLabel.h"
#include "ui/waveform/WaveformView.h"

namespace halvenor {

namespace {
constexpr int spacing = 10;
constexpr double seekStep = 5;  // seconds
}  // namespace

TimelineView::TimelineView(AppState& state, const Look& look, QWidget* parent)
    : QWidget(parent),
      state_(state),
      controlHeight_(look.controlHeight),
      elapsed_(new TimeLabel(QStringLiteral("Elapsed Time"),
                             look.areTimesAtEnds ? Qt::AlignLeft : Qt::AlignRight, this)),
      slider_(new ThinSlider(QStringLiteral("Position"), this, look.slider)),
      waveform_(new WaveformView(QStringLiteral("Position"), this)),
      total_(new TimeLabel(QStringLiteral("Duration"),
                           look.areTimesAtEnds ? Qt::AlignRight : Qt::AlignLeft, this)) {
    setLayoutDirection(Qt::LeftToRight);
    for (TimeLabel* label : {elapsed_, total_}) {
        label->setSurface(look.surface);
        label->setSurround(look.surround);
    }
    slider_->setSurface(look.surface);
    slider_->setSurround(look.surround);
    waveform_->setSurface(look.surface);
    wireControls();
    subscribe();
    chooseControl();
    refreshDuration();
}

void TimelineView::wireControls() {
    AudioEngineManager& engine = state_.audioEngine();
    slider_->setStep(seekStep);
    slider_->describeValue = [](double seconds) { return formatTime(seconds); };
    slider_->onValueWished = [this, &engine](double seconds) {
        engine.seek(seconds);
        refreshTime();
    };
    waveform_->describeValue = [&engine](double progress) {
        return formatTime(progress * *engine.duration);
    };
    waveform_->onValueWished = [this, &engine](double progress) {
        engine.seek(progress * *engine.duration);
        refreshTime();
    };
}

void TimelineView::subscribe() {
    AudioEngineManager& engine = state_.audioEngine();
    subscriptions_.push_back(engine.currentTime.subscribe([this](double) {
        if (canBeSeen()) {
            followTime();
        }
    }));
    subscriptions_.push_back(engine.duration.subscribe([this](double) { refreshDuration(); }));
    subscriptions_.push_back(
        engine.isPlaying.subscribe([this](bool isPlaying) { waveform_->setPlaying(isPlaying); }));
    subscriptions_.push_back(state_.waveformPeaks.subscribe(
        [this](const QList<float>& peaks) { waveform_->setPeaks(peaks); }));
    const auto choose = [this](bool) { chooseControl(); };
    subscriptions_.push_back(state_.showWaveform.subscribe(choose));
    subscriptions_.push_back(state_.useLiquidTitanWaveform.subscribe(choose));
    waveform_->setPlaying(*engine.isPlaying);
    waveform_->setPeaks(*state_.waveformPeaks);
}

void TimelineView::chooseControl() {
    waveform_->setAppearance(*state_.useLiquidTitanWaveform ? WaveformView::Appearance::liquidTitan
                                                            : WaveformView::Appearance::standard);
    waveform_->setVisible(*state_.showWaveform);
    slider_->setVisible(!*state_.showWaveform);
    refreshTime();
}

bool TimelineView::canBeSeen() const {
    return isVisible() && !window()->isMinimized();
}

void TimelineView::refreshDuration() {
    const double duration = *state_.audioEngine().duration;
    slider_->setRange(0, std::max(duration, 1.0));
    waveform_->setStep(duration > 0 ? seekStep / duration : 0);
    total_->setSeconds(duration);
    refreshTime();
    layOut();
}

void TimelineView::refreshTime() {
    const AudioEngineManager& engine = state_.audioEngine();
    const double now = *engine.currentTime;
    slider_->setValue(now);
    waveform_->setProgress(*engine.duration > 0 ? now / *engine.duration : 0);
    const qsizetype digits = elapsed_->text().size();
    elapsed_->setSeconds(now);
    if (elapsed_->text().size() != digits) {
        layOut();
    }
}

// A step of a single pixel waits for the next second, so that digits and place are one repaint.
void TimelineView::followTime() {
    const AudioEngineManager& engine = state_.audioEngine();
    const double now = *engine.currentTime;
    const int travel = *state_.showWaveform
                           ? waveform_->travel(*engine.duration > 0 ? now / *engine.duration : 0)
                           : slider_->knobTravel(now);
    if (travel > 1 || formatTime(now) != elapsed_->text()) {
        refreshTime();
    }
}

// Time runs from left to right in every script: this is never mirrored. Measures text, so it waits
// until there is something to show.
void TimelineView::layOut() {
    if (!isVisible()) {
        return;
    }
    const auto place = [this](QWidget* widget, int left, const QSize& size) {
        widget->setGeometry(left, (height() - size.height()) / 2, size.width(), size.height());
        return left + size.width();
    };
    const QSize total = total_->sizeHint();
    const int left = place(elapsed_, 0, elapsed_->sizeHint()) + spacing;
    const int right = width() - total.width() - spacing;
    place(slider_, left, {right - left, controlHeight_});
    place(waveform_, left, {right - left, controlHeight_});
    place(total_, width() - total.width(), total);
}

void TimelineView::resizeEvent(QResizeEvent*) {
    layOut();
}

void TimelineView::showEvent(QShowEvent*) {
    layOut();
    refreshTime();
}

}  // namespace halvenor
