#include "ui/controls/Motion.h"

namespace halvenor {

Published<bool>& Motion::isReduced() {
    // Never destroyed: views may be.
    static auto& reduced = *new Published<bool>(false);
    return reduced;
}

}  // namespace halvenor
