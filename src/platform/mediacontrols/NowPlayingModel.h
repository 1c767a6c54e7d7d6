#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "model/Track.h"
#include "platform/mediacontrols/MediaPlayer.h"

namespace halvenor {

/// A track as it was announced, with the player's values at that moment.
struct NowPlayingRecord {
    using Clock = std::chrono::steady_clock;

    Track track;
    double currentTime = 0;  ///< seconds
    double duration = 0;     ///< seconds; not above 0 when unknown
    bool isPlaying = false;
    int64_t number = 0;  ///< one more with each record
    Clock::time_point madeAt = Clock::now();
};

/// What a media control service was told. Main thread.
struct NowPlayingModel {
    /// What the player says; where nobody set one up, what the record makes of the time since.
    MediaPlayerState state() const;

    RemoteCommands commands;
    MediaPlayer player;
    std::optional<NowPlayingRecord> record;
};

}  // namespace halvenor
