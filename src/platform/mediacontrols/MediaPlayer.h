#pragma once

#include <functional>

#include "base/FileUrl.h"

namespace halvenor {

enum class PlaybackStatus {
    playing,
    paused,
    stopped,  ///< nothing is loaded
};

/// What happens at the end of a track, as the desktop's controls know it.
enum class LoopMode {
    none,
    track,     ///< the track again
    playlist,  ///< the list again
};

/// The player at one moment, as the desktop's controls show it.
struct MediaPlayerState {
    PlaybackStatus status = PlaybackStatus::stopped;
    double position = 0;  ///< seconds into the current track
    double volume = 1;    ///< 0...1 as it is heard: 0 while muted
    LoopMode loopMode = LoopMode::none;
    bool isShuffling = false;
    bool canPlay = false;
    bool canPause = false;
    bool canSeek = false;
    bool canGoNext = false;
    bool canGoPrevious = false;
};

/// The player behind the desktop's controls, filled in by whoever owns it. An absent function is
/// something that is not offered. All run on the main thread, from the event loop; none may destroy
/// the service that calls it.
struct MediaPlayer {
    /// The state now. Asked for often: it only reads.
    std::function<MediaPlayerState()> state;

    std::function<void()> onStop;
    /// To a place in the current track, in seconds, 0 or above.
    std::function<void(double)> onSeek;
    /// 0...1.
    std::function<void(double)> onSetVolume;
    std::function<void(LoopMode)> onSetLoopMode;
    std::function<void(bool)> onSetShuffling;
    /// Show the window, before others.
    std::function<void()> onRaise;
    /// End the program as the user's own command does.
    std::function<void()> onQuit;
    /// Play a music file, or a folder of them. Nothing has looked whether it is there.
    std::function<void(const FileUrl&)> onOpen;
};

/// The commands of media keys and headset buttons.
struct RemoteCommands {
    std::function<void()> onPlay;
    std::function<void()> onPause;
    std::function<void()> onToggle;
    std::function<void()> onNext;
    std::function<void()> onPrevious;
};

}  // namespace halvenor
