#include "ui/covermode/CoverModeVolume.h"

#include <QStyle>

#include <algorithm>
#include <cmath>

#include "playback/AudioEngineManager.h"
#include "ui/controls/IconButton.h"
#include "ui/controls/ThinSlider.h"
#include "ui/covermode/CoverModeSlider.h"

namespace halvenor {

namespace {
constexpr double symbolSize = 13;
constexpr float step = 0.1F;
}  // namespace

CoverModeVolume::CoverModeVolume(AudioEngineManager& engine, QWidget* parent)
    : QWidget(parent),
      engine_(engine),
      mute_(new IconButton(QStringLiteral("speaker.slash.fill"), symbolSize,
                           QStringLiteral("Toggle mute (m)"), this)),
      slider_(new ThinSlider(QStringLiteral("Volume"), this, coverModeSlider)),
      louder_(new IconButton(QStringLiteral("speaker.wave.2.fill"), symbolSize,
                             QStringLiteral("Unmute and increase volume"), this)) {
    mute_->setSurround(Surround::black);
    louder_->setSurround(Surround::black);
    slider_->setSurround(Surround::black);
    slider_->setSurface([] { return QColor(Qt::black); });
    slider_->describeValue = [](double volume) {
        return QStringLiteral("%1%").arg(std::lround(volume * 100));
    };
    slider_->onValueWished = [this](double volume) {
        engine_.setVolume(static_cast<float>(volume));
    };
    connect(mute_, &QAbstractButton::clicked, this, [this] { engine_.toggleMute(); });
    connect(louder_, &QAbstractButton::clicked, this, [this] { unmuteAndIncreaseVolume(); });
    volume_ = engine_.volume.subscribe(
        [this](float volume) { slider_->setValue(static_cast<double>(volume)); });
    slider_->setValue(static_cast<double>(*engine_.volume));
}

void CoverModeVolume::unmuteAndIncreaseVolume() {
    if (*engine_.isMuted) {
        engine_.toggleMute();
    }
    engine_.setVolume(std::min(*engine_.volume + step, 1.0F));
}

void CoverModeVolume::resizeEvent(QResizeEvent*) {
    const auto place = [this](QWidget* widget, int left, int wide) {
        widget->setGeometry(
            QStyle::visualRect(layoutDirection(), rect(), QRect(left, 0, wide, height())));
    };
    const int button = mute_->sizeHint().width();
    place(mute_, 0, button);
    place(slider_, button, width() - 2 * button);
    place(louder_, width() - button, button);
}

}  // namespace halvenor
