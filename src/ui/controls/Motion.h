#pragma once

#include "base/Published.h"

namespace halvenor {

/// Whether things may move by themselves, as the user has set it for the whole desktop. Followed
/// by everything that is animated. Main thread.
class Motion {
  public:
    Motion() = delete;

    static Published<bool>& isReduced();
    /// The time that a movement takes: `milliseconds`, or none where nothing may move.
    static int duration(int milliseconds) { return *isReduced() ? 0 : milliseconds; }
};

}  // namespace halvenor
