#pragma once

#include <QBasicTimer>
#include <QImage>
#include <QList>

#include <functional>
#include <optional>

#include "base/Published.h"
#include "ui/controls/ValueControl.h"
#include "ui/theme/HalvenorTheme.h"
#include "ui/waveform/AnimationClock.h"
#include "ui/waveform/LiquidTitanWaveform.h"

namespace halvenor {

/// The waveform of the track that plays: the part that was played in another colour than the rest,
/// or, in the liquid appearance, in another metal. The whole of it is a seek control: a press or a
/// drag shows the place, and letting go asks for it.
///
/// Its value is the progress, 0...1 of the track. Thirty times a second it repaints the sheen of
/// the liquid appearance, while music plays, the program is at the front, the view can be seen and
/// the desktop lets things move; otherwise nothing runs.
class WaveformView : public ValueControl {
  public:
    enum class Appearance { standard, liquidTitan };

    WaveformView(const QString& accessibleName, QWidget* parent);
    ~WaveformView() override;

    /// Values of 0...1; none: a flat line stands for what is missing.
    void setPeaks(const QList<float>& peaks);
    /// Repaints only if another device pixel is played.
    void setProgress(double progress);
    void setAppearance(Appearance appearance);
    void setPlaying(bool isPlaying);
    /// The colour of the pane it lies on, which it paints itself.
    void setSurface(std::function<QColor()> surface);

    /// The progress on show: that under the pointer during a drag.
    double effectiveProgress() const { return pendingSeekProgress_.value_or(value()); }
    /// How many device pixels the played part would grow or shrink by.
    int travel(double progress) const;
    bool isAnimating() const { return clock_.isRunning(); }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void updateAnimationClock();
    bool clockShouldRun() const;
    void showProgress(const std::function<void()>& change);
    double progressAt(double x) const;
    int playedPixel(double progress) const;
    void prepare();
    void paintStandard(QPainter& painter, const QRectF& played, const QRectF& rest) const;

    QList<float> peaks_;
    Appearance appearance_ = Appearance::standard;
    bool isPlaying_ = false;
    std::optional<double> pendingSeekProgress_;
    std::function<QColor()> surface_ = &HalvenorTheme::windowBackdrop;

    /// The shape, as a mask, is made for one size, scale and set of peaks.
    bool isPrepared_ = false;
    double preparedRatio_ = 0;
    QImage mask_;
    LiquidTitanWaveform metal_;

    AnimationClock clock_;
    QBasicTimer frames_;
    QRectF lastSheen_;
    Subscription motion_;
};

}  // namespace halvenor
