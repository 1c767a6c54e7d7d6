#include "base/Task.h"

#include <QLoggingCategory>
#include <QObject>
#include <QTimerEvent>

#include "base/Error.h"

namespace halvenor {

namespace {

Task<> runToItsEnd(Task<> task) {
    try {
        co_await task;
    } catch (const Cancelled&) {
        co_return;
    } catch (const std::exception& error) {
        qWarning("A task ended with an error that nobody handled: %s", error.what());
    } catch (...) {
        qWarning("A task ended with an error that nobody handled");
    }
}

// A real timer even for zero milliseconds: a posted event would be handled in the same turn of the
// loop that posted it, and a chain of such waits would hold back input and painting.
class Sleeper final : public QObject {
  public:
    Sleeper(std::chrono::milliseconds duration, std::coroutine_handle<> waiter) : waiter_(waiter) {
        startTimer(duration, Qt::PreciseTimer);
    }

  protected:
    void timerEvent(QTimerEvent* event) override {
        killTimer(event->timerId());
        deleteLater();
        waiter_.resume();
    }

  private:
    std::coroutine_handle<> waiter_;
};

}  // namespace

void spawn(Task<> task) {
    // Detached on purpose: the frame lives until the coroutine has run to its end.
    const Task<> detached = runToItsEnd(std::move(task));
    Q_UNUSED(detached);
}

TaskSlot& TaskSlot::operator=(TaskSlot&& other) noexcept {
    if (this != &other) {
        cancel();
        source_ = std::exchange(other.source_, std::nullopt);
    }
    return *this;
}

void TaskSlot::cancel() {
    if (source_) {
        source_->request_stop();
        source_.reset();
    }
}

Service::Service(int threads) {
    pool_.setMaxThreadCount(threads);
    pool_.setExpiryTimeout(-1);
}

Service::~Service() {
    *isEnding_ = true;
    pool_.waitForDone();
}

void detail::SleepAwaiter::await_suspend(std::coroutine_handle<> waiter) {
    new Sleeper(duration_, waiter);
}

}  // namespace halvenor
