#include "state/AppState.h"

// The session: what played last, and where it was.

namespace halvenor {

void AppState::persistPlayer() {}

void AppState::restorePlayer() {}

void AppState::restoreLastPlaybackSession() {}

}  // namespace halvenor
