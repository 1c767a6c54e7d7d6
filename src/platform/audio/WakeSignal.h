#pragma once

#include <atomic>
#include <chrono>
#include <optional>
#include <semaphore.h>

namespace halvenor {

/// Wakes one sleeping thread. A signal that finds nobody asleep is kept; many become one.
class WakeSignal {
  public:
    WakeSignal() { sem_init(&semaphore_, 0, 0); }
    ~WakeSignal() { sem_destroy(&semaphore_); }
    WakeSignal(const WakeSignal&) = delete;
    WakeSignal& operator=(const WakeSignal&) = delete;

    /// Any thread, an output's own included: never waits, allocates nothing.
    void signal() {
        if (!isPending_.exchange(true)) {
            sem_post(&semaphore_);
        }
    }

    /// Sleeps until there is a signal, which is taken, or until the time is up. One thread.
    /// @param timeout absent: no limit
    void wait(std::optional<std::chrono::nanoseconds> timeout);

  private:
    sem_t semaphore_;
    std::atomic<bool> isPending_ = false;
};

}  // namespace halvenor
