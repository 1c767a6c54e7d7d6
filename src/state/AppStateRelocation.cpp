#include "state/AppState.h"

namespace halvenor {

void AppState::checkRelocations() {}

}  // namespace halvenor
