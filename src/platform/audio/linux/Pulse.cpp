#include "platform/audio/linux/Pulse.h"

namespace halvenor::pulse {

void load() {
#define HALVENOR_RESOLVE(name) name.resolve();
    HALVENOR_PULSE(HALVENOR_RESOLVE)
#undef HALVENOR_RESOLVE
}

}  // namespace halvenor::pulse
