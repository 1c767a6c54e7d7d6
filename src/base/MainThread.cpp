// Worker threads post results while the main thread may be leaving main(): without a lock between
// them a result could be posted to an application object that is being destroyed.
#include "base/MainThread.h"

namespace halvenor::detail {

namespace {

struct Gate {
    std::mutex mutex;
    QCoreApplication* application = nullptr;
};

// Never destroyed: workers of services that are themselves static may still come by.
Gate& gate() {
    static Gate* const shared = new Gate;
    return *shared;
}

void closeGate() {
    const std::scoped_lock lock(gate().mutex);
    gate().application = nullptr;
}

// Runs whenever an application object is made, or at once if there is one.
void openGate() {
    const std::scoped_lock lock(gate().mutex);
    gate().application = QCoreApplication::instance();
    qAddPostRoutine(closeGate);
}
Q_COREAPP_STARTUP_FUNCTION(openGate)

}  // namespace

ApplicationLock::ApplicationLock() : lock_(gate().mutex), application_(gate().application) {}

}  // namespace halvenor::detail
