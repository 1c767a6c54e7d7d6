// A signal may interrupt any thread at any instruction, so its handler only writes one byte into a
// pipe; the event loop reads the other end. Handlers, unlike a blocked mask, do not pass to the
// programs that this one starts.
#include "platform/desktop/TerminationSignals.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

#include "base/Error.h"

namespace halvenor {

namespace {

// All that a handler can reach.
std::atomic<int> pipeOfHandler{-1};
static_assert(std::atomic<int>::is_always_lock_free);

extern "C" void noteTerminationSignal(int) {
    const int interrupted = errno;
    // The pipe does not block. If it is full, there is nothing new to tell.
    [[maybe_unused]] const ssize_t written = ::write(pipeOfHandler, "", 1);
    errno = interrupted;
}

// Both ends, the reading one first.
std::array<int, 2> makePipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        throw Error::fromErrno(errno);
    }
    return ends;
}

}  // namespace

TerminationSignals::TerminationSignals(std::function<void()> onRequested)
    : TerminationSignals(std::move(onRequested), makePipe()) {}

TerminationSignals::TerminationSignals(std::function<void()> onRequested,
                                       const std::array<int, 2>& pipe)
    : onRequested_(std::move(onRequested)),
      readEnd_(pipe[0]),
      writeEnd_(pipe[1]),
      notifier_(readEnd_.get(), QSocketNotifier::Read) {
    QObject::connect(&notifier_, &QSocketNotifier::activated, &notifier_,
                     [this] { signalArrived(); });
    pipeOfHandler = writeEnd_.get();
    struct sigaction action = {};
    action.sa_handler = &noteTerminationSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (size_t i = 0; i < signals.size(); ++i) {
        ::sigaction(signals[i], nullptr, &earlier_[i]);
        const bool staysIgnored = signals[i] == SIGHUP && earlier_[i].sa_handler == SIG_IGN;
        if (!staysIgnored) {
            ::sigaction(signals[i], &action, nullptr);
        }
    }
}

TerminationSignals::~TerminationSignals() {
    for (size_t i = 0; i < signals.size(); ++i) {
        ::sigaction(signals[i], &earlier_[i], nullptr);
    }
    pipeOfHandler = -1;
}

void TerminationSignals::signalArrived() {
    notifier_.setEnabled(false);
    onRequested_();
}

}  // namespace halvenor
