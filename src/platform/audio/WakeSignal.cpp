#include "platform/audio/WakeSignal.h"

#include <cerrno>
#include <ctime>

namespace halvenor {

namespace {

timespec deadlineAfter(std::chrono::nanoseconds timeout) {
    constexpr int64_t nanosPerSecond = 1'000'000'000;
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const int64_t nanos = now.tv_nsec + timeout.count();
    now.tv_sec += nanos / nanosPerSecond;
    now.tv_nsec = nanos % nanosPerSecond;
    return now;
}

}  // namespace

void WakeSignal::wait(std::optional<std::chrono::nanoseconds> timeout) {
    int result = 0;
    if (timeout) {
        const timespec deadline = deadlineAfter(*timeout);
        do {
            result = sem_clockwait(&semaphore_, CLOCK_MONOTONIC, &deadline);
        } while (result != 0 && errno == EINTR);
    } else {
        do {
            result = sem_wait(&semaphore_);
        } while (result != 0 && errno == EINTR);
    }
    if (result == 0) {
        // Before the work that the signal announces: one that comes during it counts anew.
        isPending_.exchange(false);
    }
}

}  // namespace halvenor
