#include "support/EventLoop.h"

#include <QEventLoop>

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace halvenor::test {

bool spinUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout) {
    if (condition()) {
        return true;
    }
    QElapsedTimer elapsed;
    elapsed.start();
    QEventLoop loop;
    QTimer poll;
    bool holds = false;
    poll.setTimerType(Qt::PreciseTimer);
    poll.callOnTimeout(&loop, [&] {
        holds = condition();
        if (holds || elapsed.hasExpired(timeout.count())) {
            loop.quit();
        }
    });
    poll.start(std::chrono::milliseconds(1));
    loop.exec();
    return holds;
}

void spinFor(std::chrono::milliseconds duration) {
    QEventLoop loop;
    QTimer::singleShot(duration, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

namespace {

/// How long the thread of `schedule` was ready to run without running so far, in milliseconds: the
/// second field of its schedstat (Linux, Documentation/scheduler/sched-stats); 0 without one.
double readyTime(const FileDescriptor& schedule) {
    char text[128] = {};
    unsigned long long running = 0;
    unsigned long long ready = 0;
    if (::pread(schedule.get(), text, sizeof(text) - 1, 0) > 0) {
        std::sscanf(text, "%llu %llu", &running, &ready);
    }
    return static_cast<double>(ready) / 1e6;
}

}  // namespace

EventLoopTicker::EventLoopTicker()
    : schedule_(::open("/proc/thread-self/schedstat", O_RDONLY | O_CLOEXEC)) {
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.callOnTimeout(&timer_, [this] {
        const double now = ownTime();
        longest_ = std::max(longest_, now - lastTick_);
        lastTick_ = now;
        ++ticks_;
    });
    elapsed_.start();
    lastTick_ = ownTime();
    timer_.start(std::chrono::milliseconds(1));
}

double EventLoopTicker::longestStall() const {
    return std::max(longest_, ownTime() - lastTick_);
}

// Time goes by for the thread only while it runs or waits for something.
double EventLoopTicker::ownTime() const {
    return static_cast<double>(elapsed_.nsecsElapsed()) / 1e6 - readyTime(schedule_);
}

}  // namespace halvenor::test
