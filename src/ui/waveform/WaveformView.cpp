#include "ui/waveform/WaveformView.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>

#include "ui/controls/FocusRing.h"
#include "ui/controls/Motion.h"
#include "ui/waveform/EnvelopePath.h"

namespace halvenor {

namespace {

constexpr int frameInterval = 34;  // milliseconds: at most 30 redraws a second
constexpr qsizetype missingCount = 140;
constexpr float missingPeak = 0.15F;

AnimationClock::TimePoint now() {
    return std::chrono::steady_clock::now();
}

}  // namespace

WaveformView::WaveformView(const QString& accessibleName, QWidget* parent)
    : ValueControl(accessibleName, parent) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    motion_ = Motion::isReduced().subscribe([this](bool) { updateAnimationClock(); });
    // The program comes to the front, or leaves it.
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this,
            [this] { updateAnimationClock(); });
}

WaveformView::~WaveformView() = default;

void WaveformView::setPeaks(const QList<float>& peaks) {
    if (peaks != peaks_) {
        peaks_ = peaks;
        isPrepared_ = false;
        updateAnimationClock();
        update();
    }
}

void WaveformView::setAppearance(Appearance appearance) {
    if (appearance != appearance_) {
        appearance_ = appearance;
        isPrepared_ = false;
        updateAnimationClock();
        update();
    }
}

void WaveformView::setPlaying(bool isPlaying) {
    isPlaying_ = isPlaying;
    updateAnimationClock();
}

void WaveformView::setSurface(std::function<QColor()> surface) {
    surface_ = std::move(surface);
    update();
}

int WaveformView::playedPixel(double progress) const {
    const double held = std::isnan(progress) ? 0 : std::clamp(progress, 0.0, 1.0);
    return static_cast<int>(std::lround(width() * held * devicePixelRatioF()));
}

int WaveformView::travel(double progress) const {
    return std::abs(playedPixel(progress) - playedPixel(value()));
}

// Repaints what lies between the old end of the played part and the new one.
void WaveformView::showProgress(const std::function<void()>& change) {
    const int before = playedPixel(effectiveProgress());
    change();
    const int after = playedPixel(effectiveProgress());
    if (before != after) {
        const double ratio = devicePixelRatioF();
        const int left = static_cast<int>(std::floor(std::min(before, after) / ratio)) - 1;
        const int right = static_cast<int>(std::ceil(std::max(before, after) / ratio)) + 1;
        update(left, 0, right - left, height());
    }
}

void WaveformView::setProgress(double progress) {
    showProgress([&] { holdValue(progress); });
}

bool WaveformView::clockShouldRun() const {
    return appearance_ == Appearance::liquidTitan && isPlaying_ && !peaks_.isEmpty() &&
           !*Motion::isReduced() && isVisible() && !window()->isMinimized() &&
           QGuiApplication::applicationState() == Qt::ApplicationActive;
}

void WaveformView::updateAnimationClock() {
    clock_.update(clockShouldRun(), now());
    if (!clock_.isRunning()) {
        frames_.stop();
    } else if (!frames_.isActive()) {
        frames_.start(frameInterval, this);
    }
}

void WaveformView::timerEvent(QTimerEvent* event) {
    if (event->timerId() != frames_.timerId()) {
        ValueControl::timerEvent(event);
        return;
    }
    const QRectF sheen = metal_.sheenRect(clock_.elapsed(now()));
    update(sheen.united(lastSheen_).toAlignedRect());
    lastSheen_ = sheen;
}

void WaveformView::prepare() {
    const double ratio = devicePixelRatioF();
    if (isPrepared_ && preparedRatio_ == ratio) {
        return;
    }
    isPrepared_ = true;
    preparedRatio_ = ratio;
    const QList<float> shown = peaks_.isEmpty() ? QList<float>(missingCount, missingPeak) : peaks_;
    const QPainterPath envelope = envelopePath(shown, width(), height());
    if (appearance_ == Appearance::liquidTitan) {
        mask_ = QImage();
        metal_.setShape(envelope, QSizeF(size()), ratio);
        return;
    }
    mask_ = QImage((QSizeF(size()) * ratio).toSize().expandedTo(QSize(1, 1)),
                   QImage::Format_ARGB32_Premultiplied);
    mask_.setDevicePixelRatio(ratio);
    mask_.fill(Qt::transparent);
    QPainter painter(&mask_);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(envelope, Qt::black);
}

void WaveformView::paintStandard(QPainter& painter, const QRectF& played,
                                 const QRectF& rest) const {
    QImage tinted = mask_;
    QPainter brush(&tinted);
    brush.setCompositionMode(QPainter::CompositionMode_SourceIn);
    brush.fillRect(rest, HalvenorTheme::waveformUnplayed());
    brush.fillRect(played, HalvenorTheme::waveformPlayed());
    brush.end();
    painter.drawImage(0, 0, tinted);
}

void WaveformView::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.fillRect(event->rect(), surface_());
    prepare();
    const double playedWidth = playedPixel(effectiveProgress()) / devicePixelRatioF();
    const QRectF clip(event->rect());
    const QRectF played = QRectF(0, 0, playedWidth, height()).intersected(clip);
    const QRectF rest = QRectF(playedWidth, 0, width() - playedWidth, height()).intersected(clip);
    if (appearance_ == Appearance::liquidTitan) {
        const double elapsed = clock_.elapsed(now());
        metal_.paint(painter, rest, elapsed, false);
        metal_.paint(painter, played, elapsed, true);
    } else {
        paintStandard(painter, played, rest);
    }
    paintFocusRing(painter, *this, 4);
}

void WaveformView::resizeEvent(QResizeEvent*) {
    isPrepared_ = false;
    update();
}

void WaveformView::showEvent(QShowEvent*) {
    window()->installEventFilter(this);
    updateAnimationClock();
}

void WaveformView::hideEvent(QHideEvent*) {
    pendingSeekProgress_.reset();
    updateAnimationClock();
}

void WaveformView::changeEvent(QEvent* event) {
    ValueControl::changeEvent(event);
    update();
}

bool WaveformView::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::WindowStateChange) {
        updateAnimationClock();
    }
    return ValueControl::eventFilter(watched, event);
}

double WaveformView::progressAt(double x) const {
    const double progress = width() > 0 ? x / width() : 0;
    return std::clamp(progress, 0.0, 1.0);
}

void WaveformView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    showProgress([&] { pendingSeekProgress_ = progressAt(event->position().x()); });
}

void WaveformView::mouseMoveEvent(QMouseEvent* event) {
    if (pendingSeekProgress_) {
        showProgress([&] { pendingSeekProgress_ = progressAt(event->position().x()); });
    }
}

void WaveformView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !pendingSeekProgress_) {
        return;
    }
    wish(progressAt(event->position().x()));
    showProgress([&] { pendingSeekProgress_.reset(); });
}

}  // namespace halvenor
