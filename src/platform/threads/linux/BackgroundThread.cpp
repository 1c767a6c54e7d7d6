#include "platform/threads/BackgroundThread.h"

#include <sys/resource.h>
#include <unistd.h>

namespace halvenor {

namespace {

/// A niceness, which Linux keeps for each thread. The scheduler gives such a thread a ninth of what
/// it gives an ordinary one, and lets an ordinary one that wakes take its core at once. The policy
/// for idle times alone would let a busy machine starve it for minutes.
constexpr int backgroundNiceness = 10;

}  // namespace

void enterBackground() {
    const auto thread = static_cast<id_t>(::gettid());
    if (::getpriority(PRIO_PROCESS, thread) < backgroundNiceness) {
        ::setpriority(PRIO_PROCESS, thread, backgroundNiceness);
    }
}

}  // namespace halvenor
