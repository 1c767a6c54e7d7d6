#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "platform/audio/DecodePipeline.h"
#include "platform/audio/OutputLink.h"
#include "platform/audio/WakeSignal.h"

namespace halvenor {

/// The decode thread of a player node: keeps the ring filled, lets resamplers out when nothing
/// follows, and calls the handlers of what has been heard.
///
/// The node posts commands, which take effect in order; the output signals when the ring runs low.
/// Between those the thread sleeps until the next moment it knows of: a file's last frame heard, or
/// the end of the sound so near that a held resampler must be drained. All times follow from
/// framesHeard(), so an output moved by hand moves everything.
class PlaybackWorker {
  public:
    explicit PlaybackWorker(std::shared_ptr<OutputLink> link);
    /// Ends the thread; handlers still pending are called first.
    ~PlaybackWorker();

    /// What the streams must signal to have the ring filled.
    std::shared_ptr<WakeSignal> signal() const { return signal_; }

    // Commands: main thread, none waits.
    void schedule(ScheduleEntry entry);
    /// Throws the schedule away and calls its handlers; goes on with `stream`, which may be null
    /// until an output is there.
    void clear(std::shared_ptr<RenderStream> stream, AudioFormat format);
    /// Begins again in `stream` at frame `heard` (counted in frames of the format so far), which
    /// gets the number `origin`: the output changed.
    void restart(std::shared_ptr<RenderStream> stream, AudioFormat format, int64_t heard,
                 int64_t origin);
    /// Whether the output sounds, and so whether time passes.
    void setRunning(bool isRunning);

    /// Waits until every command was carried out and nothing is left to do at this moment of the
    /// output's clock.
    void waitUntilIdle();

  private:
    using Command = std::function<void()>;
    using Nanoseconds = std::chrono::nanoseconds;

    void post(Command command);
    void run();
    bool runCommands();
    bool fill();
    bool completeHeard();
    bool releaseTailInTime();
    bool isTailWaiting() const;
    void reportIdle();
    std::optional<Nanoseconds> timeToNextEvent();

    void startOver(const std::shared_ptr<RenderStream>& stream, AudioFormat format, int64_t origin);
    void skipTo(int64_t heard, int oldRate);
    void complete(ScheduleEntry& entry);

    const std::shared_ptr<OutputLink> link_;
    const std::shared_ptr<WakeSignal> signal_ = std::make_shared<WakeSignal>();

    std::mutex mutex_;
    std::vector<Command> commands_;
    bool isEnding_ = false;
    uint64_t idleAsked_ = 0;
    uint64_t idleReached_ = 0;
    std::condition_variable becameIdle_;

    // The decode thread's own.
    std::deque<ScheduleEntry> schedule_;
    std::shared_ptr<RenderStream> stream_;
    AudioFormat format_;
    std::optional<DecodePipeline> pipeline_;
    bool isRunning_ = false;
    bool isFilling_ = false;
    int64_t portion_ = 0;
    uint64_t idleSeen_ = 0;
    int64_t heardBefore_ = -1;
    Nanoseconds patience_{};

    std::thread thread_;
};

}  // namespace halvenor
