#include "support/EventLoop.h"

#include <QEventLoop>

#include <algorithm>

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

EventLoopTicker::EventLoopTicker() {
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.callOnTimeout(&timer_, [this] {
        longest_ = std::max(longest_, sinceLastTick());
        sinceTick_.start();
        ++ticks_;
    });
    sinceTick_.start();
    timer_.start(std::chrono::milliseconds(1));
}

double EventLoopTicker::longestStall() const {
    return std::max(longest_, sinceLastTick());
}

double EventLoopTicker::sinceLastTick() const {
    return static_cast<double>(sinceTick_.nsecsElapsed()) / 1e6;
}

}  // namespace halvenor::test
