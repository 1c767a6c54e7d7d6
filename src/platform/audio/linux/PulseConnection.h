#pragma once

#include <QByteArray>

#include <chrono>
#include <functional>
#include <memory>

#include "platform/audio/linux/Pulse.h"

namespace halvenor {

/// Holds the mainloop's lock, without which none of its objects may be touched from outside its
/// thread. Not for use in its callbacks: they hold it already.
class PulseLock {
  public:
    explicit PulseLock(pa_threaded_mainloop* loop) : loop_(loop) {
        pulse::pa_threaded_mainloop_lock(loop_);
    }
    ~PulseLock() { pulse::pa_threaded_mainloop_unlock(loop_); }
    PulseLock(const PulseLock&) = delete;
    PulseLock& operator=(const PulseLock&) = delete;

  private:
    pa_threaded_mainloop* loop_;
};

/// Calls back once on the mainloop's thread, after a time on the monotonic clock. Under the lock.
class PulseTimer {
  public:
    PulseTimer() = default;
    ~PulseTimer() { stop(); }
    PulseTimer(const PulseTimer&) = delete;
    PulseTimer& operator=(const PulseTimer&) = delete;

    /// Replaces what was started before. @param context any, connected or not; not kept
    void start(pa_threaded_mainloop* loop, pa_context* context, std::chrono::milliseconds delay,
               std::function<void()> action);
    void stop();
    bool isActive() const { return event_ != nullptr; }

  private:
    pa_mainloop_api* api_ = nullptr;
    pa_time_event* event_ = nullptr;
    std::function<void()> action_;
};

/// A thread of libpulse's and a connection to the sound server, which is sought again when it is
/// lost: after 0.25 s first, then ever more seldom, up to every 5 s.
class PulseConnection {
  public:
    /// What happens, told on the mainloop's thread.
    struct Listener {
        std::function<void()> ready;
        /// The attempt or the connection has failed. The listener decides whether to try again.
        std::function<void()> failed;
    };

    /// Starts the thread, connects nothing.
    PulseConnection(QByteArray applicationName, Listener listener);
    /// Ends the thread. Not under the lock.
    ~PulseConnection();

    pa_threaded_mainloop* loop() const { return loop_; }
    pa_mainloop_api* api() const { return pulse::pa_threaded_mainloop_get_api(loop_); }
    /// Null until the first connect().
    pa_context* context() const { return context_; }

    // Under the lock, or in a callback.
    /// Begins an attempt in the place of any other. Ends in ready or failed.
    void connect();
    void connectLater();
    /// The connection has proved good: the next search begins with the shortest time again.
    void resetPatience() { patience_ = shortestPatience; }
    /// Ends the connection and the search for it; nothing is told of any more.
    void drop();

  private:
    static constexpr std::chrono::milliseconds shortestPatience{250};
    static constexpr std::chrono::milliseconds longestPatience{5000};

    void contextChanged();

    QByteArray applicationName_;
    Listener listener_;
    pa_threaded_mainloop* loop_ = nullptr;
    pa_context* context_ = nullptr;
    PulseTimer retry_;
    std::chrono::milliseconds patience_ = shortestPatience;
};

/// Lets go of an operation whose end nobody waits for.
void release(pa_operation* operation);

}  // namespace halvenor
