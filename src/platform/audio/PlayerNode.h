#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "platform/decode/AudioFile.h"
#include "platform/decode/AudioFormat.h"

namespace halvenor {

class AudioOutput;

/// The moments of a scheduled file that a player can tell of.
enum class CompletionCallbackType { dataConsumed = 0, dataRendered = 1, dataPlayedBack = 2 };

/// Called once for each scheduled file, on a thread of the node's own: when its last frame has
/// been heard, or when stop() has thrown it away.
using CompletionHandler = std::function<void(CompletionCallbackType)>;

/// Plays scheduled files one after another, sample-exactly joined.
///
/// Files of one format join with not one frame added, lost or changed, through the resampler too;
/// files of different formats join at the nearest output frame. A thread of the node's own decodes
/// ahead into a ring that the output empties; nothing on the output's thread waits.
/// Methods: main thread.
class PlayerNode {
  public:
    PlayerNode();
    ~PlayerNode();
    PlayerNode(const PlayerNode&) = delete;
    PlayerNode& operator=(const PlayerNode&) = delete;

    /// Plays the whole file directly after what is already scheduled. The node decodes from `file`
    /// on its own thread from now on; nobody else reads it.
    void scheduleFile(std::shared_ptr<AudioFile> file, CompletionHandler handler);
    /// The same for `frameCount` frames from `startFrame`, in the file's own frames.
    void scheduleSegment(std::shared_ptr<AudioFile> file, int64_t startFrame, int64_t frameCount,
                         CompletionHandler handler);

    void play();
    /// Stands still; what is scheduled and the sample time stay.
    void pause();
    /// Clears what is scheduled, resets the sample time, fires the handlers of what was pending.
    void stop();

    /// 0...1. Samples pass untouched at 1; changes ramp without a click and are heard at once.
    void setVolume(float volume);
    float volume() const;

    /// Frames heard since the node last started from a stop, in the output's rate. It runs on
    /// across files and stands still during pause. Absent while the node is stopped or its engine
    /// does not run.
    std::optional<int64_t> sampleTime() const;
    /// The output's frames per second; 0 while the engine has never run.
    double outputSampleRate() const;

    /// Waits until all that was asked for is done and nothing is left to do at this moment of the
    /// output's clock: decoded as far as there is room, handlers of what was heard called. For
    /// tests, which move that clock by hand.
    void waitUntilIdle();

  private:
    friend class AudioEngine;
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace halvenor
