#pragma once

#include <functional>
#include <memory>

#include "platform/audio/AudioOutput.h"
#include "platform/audio/PlayerNode.h"

namespace halvenor {

/// Joins one player node to one output and keeps the output alive. Main thread.
class AudioEngine {
  public:
    /// Opens nothing; start() does. Both outlive the engine's use of them: the node is not owned.
    AudioEngine(std::unique_ptr<AudioOutput> output, PlayerNode& node);
    ~AudioEngine();
    AudioEngine(const AudioEngine&) = delete;
    AudioEngine& operator=(const AudioEngine&) = delete;

    bool isRunning() const;
    /// Opens the output, if it is not open. What the node has scheduled is then decoded ahead.
    /// @throws what the output's open() throws; the next call tries again
    void start();
    /// Closes the output. The node keeps its schedule, and is paused.
    void stop();

    AudioOutput& output();

    /// Called on the main thread, in a turn of its own, when the output can't go on as it was (its
    /// device came back with another format): what is scheduled must be scheduled anew.
    std::function<void()> onConfigurationChange;
    /// Called likewise when the device that the output was told to use is gone.
    std::function<void()> onDeviceLost;

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace halvenor
