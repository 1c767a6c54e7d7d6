#pragma once

#include <QElapsedTimer>
#include <QTimer>

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include "base/FileDescriptor.h"
#include "base/Task.h"

/// Ways for a test to let the main event loop run, and to see whether it kept running.
namespace halvenor::test {

/// How long a test waits for what ought to happen soon. Generous: sanitizers and a busy machine.
inline constexpr std::chrono::milliseconds patience{20000};

/// Runs the main event loop until `condition` holds; it is tested at once and every millisecond.
/// @return whether it held within `timeout`
bool spinUntil(const std::function<bool()>& condition,
               std::chrono::milliseconds timeout = patience);

/// Runs the main event loop for this long.
void spinFor(std::chrono::milliseconds duration);

/// Measures how long the main event loop was kept from its work, from construction on: the longest
/// time between two turns of a timer that is due every millisecond, without the time in which the
/// thread was ready to go on and the machine had no processor for it. Main thread.
class EventLoopTicker {
  public:
    EventLoopTicker();

    /// In milliseconds; what has gone by since the last turn counts too.
    double longestStall() const;
    /// Turns of the loop that were seen.
    int ticks() const { return ticks_; }

  private:
    double ownTime() const;

    QTimer timer_;
    QElapsedTimer elapsed_;
    FileDescriptor schedule_;  ///< the kernel's account of this thread
    double lastTick_ = 0;      ///< in own time, milliseconds
    double longest_ = 0;
    int ticks_ = 0;
};

namespace detail {

template <class T>
class Outcome {
  public:
    Outcome() = default;
    std::optional<T> value;
    std::exception_ptr error;
    bool isDone = false;
};

struct Nothing {};

template <class T, class Awaitable>
Task<> store(Awaitable awaitable, std::shared_ptr<Outcome<T>> outcome) {
    try {
        if constexpr (std::is_same_v<T, Nothing>) {
            co_await awaitable;
            outcome->value.emplace();
        } else {
            outcome->value.emplace(co_await awaitable);
        }
    } catch (...) {
        outcome->error = std::current_exception();
    }
    outcome->isDone = true;
}

template <class T, class Awaitable>
T runToCompletion(Awaitable awaitable, std::chrono::milliseconds timeout) {
    const auto outcome = std::make_shared<Outcome<T>>();
    spawn(store<T>(std::move(awaitable), outcome));
    if (!spinUntil([&] { return outcome->isDone; }, timeout)) {
        throw std::runtime_error("a task did not end in time");
    }
    if (outcome->error) {
        std::rethrow_exception(outcome->error);
    }
    return std::move(*outcome->value);
}

}  // namespace detail

/// Runs the main event loop until `task` has ended; its result, or its exception.
/// @throws std::runtime_error when it has not ended within `timeout`
template <class T>
T runToCompletion(Task<T> task, std::chrono::milliseconds timeout = patience) {
    return detail::runToCompletion<T>(std::move(task), timeout);
}
inline void runToCompletion(Task<> task, std::chrono::milliseconds timeout = patience) {
    detail::runToCompletion<detail::Nothing>(std::move(task), timeout);
}

/// The same for a service's job.
template <class T>
T runToCompletion(Job<T> job, std::chrono::milliseconds timeout = patience) {
    return detail::runToCompletion<T>(std::move(job), timeout);
}

}  // namespace halvenor::test
