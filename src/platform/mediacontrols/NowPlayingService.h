#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "model/Track.h"
#include "platform/mediacontrols/MediaPlayer.h"

namespace halvenor {

/// The player on the desktop's own controls: media keys, headset buttons, the panel that shows what
/// plays.
///
/// A record of the track goes out when the track changes; all else that is shown follows the
/// player. Commands call back from the turn of the event loop in which they arrive. Where the
/// desktop has no such controls, or loses them, nothing happens, and they are sought again now and
/// then. Main thread; no call waits for another process or the disk.
class NowPlayingService {
  public:
    /// Reaches nothing outside this process before start().
    NowPlayingService();
    NowPlayingService(const NowPlayingService&) = delete;
    NowPlayingService& operator=(const NowPlayingService&) = delete;
    /// Takes the player off the desktop's controls and removes the covers that were lent to them.
    ~NowPlayingService();

    /// Before start(). An absent function does nothing.
    void setupRemoteCommands(std::function<void()> onPlay, std::function<void()> onPause,
                             std::function<void()> onToggle, std::function<void()> onNext,
                             std::function<void()> onPrevious);
    /// Before start(). Without it the desktop shows the latest record, running on by itself.
    void setupPlayer(MediaPlayer player);

    /// Puts the player on the desktop's controls.
    /// @param delay from now; the window comes first
    void start(std::chrono::milliseconds delay = std::chrono::milliseconds(300));

    /// The current track has changed: shows its record, whole, in the place of the one before.
    /// Cover data that make no image are left out.
    /// @param currentTime,duration seconds; a duration that is not above 0 is unknown
    void updateNowPlaying(const Track& track, double currentTime, double duration, bool isPlaying);

    /// Something of the player's state may have changed, its position included. Cheap: what has
    /// changed since the last time is told in a later turn of the event loop, once for all calls.
    void playerChanged();

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace halvenor
