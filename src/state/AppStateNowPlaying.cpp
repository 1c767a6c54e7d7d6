// The player on the desktop's controls: media keys, headset buttons, the panel that shows what
// plays. A record of the track goes out when the track changes; position, status and modes are
// read from the player whenever a client asks, and clients hear when they change.
#include <QPointer>

#include "base/FileStatus.h"
#include "platform/mediacontrols/NowPlayingService.h"
#include "state/AppState.h"
#include "tags/TagService.h"

namespace halvenor {

namespace {

LoopMode loopModeOf(RepeatMode mode) {
    return mode == RepeatMode::all ? LoopMode::playlist : LoopMode::none;
}

}  // namespace

// Each command runs in a turn of its own: it may end what called it.
void AppState::setupMediaKeys() {
    const QPointer<AppState> self(this);
    const auto later = [self](void (*action)(AppState&)) {
        return [self, action] {
            postToMainThread([self, action] {
                if (self) {
                    action(*self);
                }
            });
        };
    };
    nowPlayingService_->setupRemoteCommands(
        later([](AppState& state) { state.audioEngine_.resume(); }),
        later([](AppState& state) { state.audioEngine_.pause(); }),
        later([](AppState& state) { state.audioEngine_.togglePlayPause(); }),
        later([](AppState& state) { state.playNext(); }),
        later([](AppState& state) { state.playPrevious(); }));

    MediaPlayer player;
    player.state = [this] { return mediaPlayerState(); };
    player.onStop = [this] { audioEngine_.stop(); };
    player.onSeek = [this](double seconds) { audioEngine_.seek(seconds); };
    player.onSetVolume = [this](double volume) {
        audioEngine_.setVolume(static_cast<float>(volume));
    };
    // There is no repeating of one track: who asks for it gets the whole list.
    player.onSetLoopMode = [this](LoopMode mode) {
        if (mode != loopModeOf(*repeatMode)) {
            repeatMode = mode == LoopMode::none ? RepeatMode::off : RepeatMode::all;
        }
    };
    player.onSetShuffling = [this](bool isShuffling) {
        if (isShuffling != *isShuffleEnabled) {
            toggleShuffle();
        }
    };
    player.onRaise = later([](AppState& state) {
        if (state.onShowMainWindow) {
            state.onShowMainWindow();
        }
    });
    player.onQuit = later([](AppState& state) {
        if (state.onTerminate) {
            state.onTerminate();
        }
    });
    player.onOpen = [this](const FileUrl& url) { openFromOutside(url); };
    nowPlayingService_->setupPlayer(std::move(player));
    subscribeMediaControls();
}

void AppState::subscribeMediaControls() {
    const auto changed = [this](const auto&) { nowPlayingService_->playerChanged(); };
    subscriptions_.push_back(audioEngine_.isPlaying.subscribe(changed));
    subscriptions_.push_back(audioEngine_.currentTrack.subscribe(changed));
    subscriptions_.push_back(audioEngine_.currentTime.subscribe(changed));
    subscriptions_.push_back(audioEngine_.volume.subscribe(changed));
    subscriptions_.push_back(audioEngine_.isMuted.subscribe(changed));
    subscriptions_.push_back(repeatMode.subscribe(changed));
    subscriptions_.push_back(isShuffleEnabled.subscribe(changed));
    subscriptions_.push_back(currentIndex.subscribe(changed));
    subscriptions_.push_back(playingQueue.subscribe(changed));
}

MediaPlayerState AppState::mediaPlayerState() const {
    MediaPlayerState state;
    const bool isLoaded = audioEngine_.currentTrack->has_value();
    if (isLoaded) {
        state.status = *audioEngine_.isPlaying ? PlaybackStatus::playing : PlaybackStatus::paused;
    }
    state.position = *audioEngine_.currentTime;
    state.volume = *audioEngine_.isMuted ? 0 : static_cast<double>(*audioEngine_.volume);
    state.loopMode = loopModeOf(*repeatMode);
    state.isShuffling = *isShuffleEnabled;
    state.canPlay = state.canPause = state.canSeek = isLoaded;
    state.canGoNext = hasNext() || (isLoaded && isShuffling() && !isAtEndOfPlayingQueue());
    state.canGoPrevious = isLoaded && !playingQueue->isEmpty();
    return state;
}

void AppState::updateNowPlaying(const Track& track) {
    nowPlayingService_->updateNowPlaying(track, *audioEngine_.currentTime, *audioEngine_.duration,
                                         *audioEngine_.isPlaying);
}

void AppState::openFromOutside(const FileUrl& url) {
    // What is asked for now comes before what was there last time, which may be on its way still.
    playbackRestoreTask_.cancel();
    isListRestoring_ = false;
    const std::optional<FileStatus> status = fileStatus(url);
    if (status && status->kind == FileStatus::Kind::folder) {
        openDirectory(url.standardized());
        return;
    }
    outsideOpeningTask_.start(
        [&](std::stop_token token) { return outsideOpening(url.standardized(), token); });
}

Task<> AppState::outsideOpening(FileUrl file, std::stop_token token) {
    const QPointer<AppState> self(this);
    auto reading = TagService::shared().readMetadata(file, token);
    const Track track = co_await reading;
    if (token.stop_requested() || !self) {
        co_return;
    }
    play(track);
}

}  // namespace halvenor
