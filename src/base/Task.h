#pragma once

#include <QCoroTask>
#include <QThreadPool>

#include <atomic>
#include <chrono>
#include <coroutine>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <type_traits>
#include <utility>
#include <variant>

#include "base/MainThread.h"

/// Coroutines on the main thread, and the services that work for them off it.
///
/// A task is a coroutine in a TaskSlot. It starts at once on the main thread, runs until its first
/// wait, and comes back to the main thread after each. Whoever resumes must test again what may
/// have changed: stop requested, owner alive, subject still current.
///
/// g++ 12 destroys some temporaries of a full expression that contains co_await twice. So a job is
/// made in one statement and awaited in the next, lambdas that are coroutines capture nothing, and
/// every type that crosses a wait has a user-declared constructor. ./test checks the first two.
namespace halvenor {

template <class T = void>
using Task = QCoro::Task<T>;

/// Thrown at the wait for a job whose token was stopped, or whose service ended, before it began.
class Cancelled : public std::exception {
  public:
    const char* what() const noexcept override { return "cancelled"; }
};

/// Runs a coroutine that nobody awaits. An exception that leaves it ends in the log: a task
/// reports its own failures, so one that arrives here is a defect.
void spawn(Task<> task);

/// The place of one running job. Starting another asks the one before to stop; so does the end of
/// the slot. Stopping is a request: the coroutine sees it at its next test of the token.
class TaskSlot {
  public:
    TaskSlot() = default;
    TaskSlot(TaskSlot&& other) noexcept : source_(std::exchange(other.source_, std::nullopt)) {}
    TaskSlot& operator=(TaskSlot&& other) noexcept;
    ~TaskSlot() { cancel(); }

    /// Starts `coroutine(token)` after asking the present task to stop. What is handed in is gone
    /// when this returns: a lambda with captures may call a coroutine, but not be one.
    template <class Coroutine>
    void start(Coroutine coroutine) {
        cancel();
        source_.emplace();
        const std::stop_token token = source_->get_token();
        spawn(coroutine(token));
    }

    /// Asks the present task to stop and forgets it.
    void cancel();
    /// Forgets the task without stopping it.
    void clear() { source_.reset(); }
    /// Whether a task was started and neither cancelled nor cleared. A task that has ended still
    /// counts until it clears its slot, which it may do only while its token is not stopped.
    bool isOccupied() const { return source_.has_value(); }

  private:
    std::optional<std::stop_source> source_;
};

/// A result that a worker thread is making. Copies share it; one coroutine awaits it once, on the
/// main thread, and gets the value or the exception that ended the job.
template <class T>
class [[nodiscard]] Job {
  public:
    struct State {
        std::optional<T> value;
        std::exception_ptr error;
        std::coroutine_handle<> waiter;
        bool isDone = false;
    };

    explicit Job(std::shared_ptr<State> state) : state_(std::move(state)) {}

    bool await_ready() const noexcept { return state_->isDone; }
    void await_suspend(std::coroutine_handle<> waiter) { state_->waiter = waiter; }
    T await_resume() {
        if (state_->error) {
            std::rethrow_exception(state_->error);
        }
        return std::move(*state_->value);
    }

  private:
    std::shared_ptr<State> state_;
};

/// A queue of jobs on worker threads: with one thread (the usual case) each job runs alone, in
/// order. Jobs take plain values and return plain values. run() is called on the main thread.
class Service {
  public:
    /// @param threads how many jobs may run side by side
    explicit Service(int threads = 1);
    /// Waits for the running jobs. Those still in the queue do nothing, and their waiters get
    /// Cancelled.
    ~Service();

    /// Queues `work(token)`. The token is `token`: work that takes long polls it. A job whose token
    /// is stopped before it begins does nothing, and its waiter gets Cancelled. Work is copyable;
    /// work that returns nothing makes a Job of std::monostate.
    template <class Work>
    auto run(Work work, std::stop_token token = {}) {
        using Result = std::invoke_result_t<Work&, std::stop_token>;
        using Value = std::conditional_t<std::is_void_v<Result>, std::monostate, Result>;
        auto state = std::make_shared<typename Job<Value>::State>();
        ++jobsUnderWay_;
        pool_.start([state, work = std::optional<Work>(std::move(work)), token,
                     isEnding = isEnding_]() mutable {
            try {
                if (token.stop_requested() || *isEnding) {
                    throw Cancelled();
                }
                if constexpr (std::is_void_v<Result>) {
                    (*work)(token);
                    state->value.emplace();
                } else {
                    state->value.emplace((*work)(token));
                }
            } catch (...) {
                state->error = std::current_exception();
            }
            work.reset();  // What the work holds dies here, not on the main thread.
            // The result is handed over whole: the main thread, which uses it, also ends it.
            postToMainThread([state = std::move(state)] {
                --jobsUnderWay_;
                state->isDone = true;
                if (const auto waiter = std::exchange(state->waiter, nullptr)) {
                    waiter.resume();
                }
            });
        });
        return Job<Value>(state);
    }

    /// How many jobs of all services have not come back to the main thread yet. Main thread.
    static int jobsUnderWay() { return jobsUnderWay_; }

  private:
    static inline int jobsUnderWay_ = 0;

    std::shared_ptr<std::atomic<bool>> isEnding_ = std::make_shared<std::atomic<bool>>(false);
    QThreadPool pool_;
};

namespace detail {

class SleepAwaiter {
  public:
    explicit SleepAwaiter(std::chrono::milliseconds duration) : duration_(duration) {}
    bool await_ready() const noexcept { return false; }
    void await_suspend(std::coroutine_handle<> waiter);
    void await_resume() const noexcept {}

  private:
    std::chrono::milliseconds duration_;
};

}  // namespace detail

/// Waits on the main event loop, on a clock that does not follow changes of the wall clock.
inline detail::SleepAwaiter sleepFor(std::chrono::milliseconds duration) {
    return detail::SleepAwaiter(duration);
}

/// Gives the event loop one whole turn: events that wait, painting and timers all get theirs.
inline detail::SleepAwaiter yieldToEventLoop() {
    return detail::SleepAwaiter(std::chrono::milliseconds(0));
}

}  // namespace halvenor
