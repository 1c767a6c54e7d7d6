#include "platform/mediacontrols/NowPlayingModel.h"

#include <algorithm>

namespace halvenor {

namespace {

double positionOf(const NowPlayingRecord& record) {
    if (!record.isPlaying) {
        return record.currentTime;
    }
    const std::chrono::duration<double> since = NowPlayingRecord::Clock::now() - record.madeAt;
    const double position = record.currentTime + since.count();
    return record.duration > 0 ? std::min(position, record.duration) : position;
}

}  // namespace

MediaPlayerState NowPlayingModel::state() const {
    if (player.state) {
        return player.state();
    }
    MediaPlayerState state;
    state.canPlay = state.canPause = state.canGoNext = state.canGoPrevious = true;
    if (record) {
        state.status = record->isPlaying ? PlaybackStatus::playing : PlaybackStatus::paused;
        state.position = positionOf(*record);
    }
    return state;
}

}  // namespace halvenor
