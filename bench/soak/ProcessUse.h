#pragma once

#include <cstdint>

namespace halvenor::bench {

/// What this process holds at a moment.
struct ProcessUse {
    int64_t resident = 0;  ///< kilobytes
    int descriptors = 0;
    int threads = 0;

    static ProcessUse now();
};

}  // namespace halvenor::bench
