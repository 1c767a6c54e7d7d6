#include "platform/mediacontrols/NowPlayingService.h"

#include <utility>

#include "platform/mediacontrols/linux/MprisService.h"

namespace halvenor {

struct NowPlayingService::Impl {
    MprisService mpris;
};

NowPlayingService::NowPlayingService() : impl_(std::make_unique<Impl>()) {}
NowPlayingService::~NowPlayingService() = default;

void NowPlayingService::setupRemoteCommands(std::function<void()> onPlay,
                                            std::function<void()> onPause,
                                            std::function<void()> onToggle,
                                            std::function<void()> onNext,
                                            std::function<void()> onPrevious) {
    impl_->mpris.model().commands = {std::move(onPlay), std::move(onPause), std::move(onToggle),
                                     std::move(onNext), std::move(onPrevious)};
}

void NowPlayingService::setupPlayer(MediaPlayer player) {
    impl_->mpris.model().player = std::move(player);
}

void NowPlayingService::start(std::chrono::milliseconds delay) {
    impl_->mpris.start(delay);
}

void NowPlayingService::updateNowPlaying(const Track& track, double currentTime, double duration,
                                         bool isPlaying) {
    NowPlayingRecord record;
    record.track = track;
    record.currentTime = currentTime;
    record.duration = duration;
    record.isPlaying = isPlaying;
    impl_->mpris.setRecord(std::move(record));
}

void NowPlayingService::playerChanged() {
    impl_->mpris.stateChanged();
}

}  // namespace halvenor
