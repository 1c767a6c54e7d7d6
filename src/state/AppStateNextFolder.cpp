#include "state/AppState.h"

// "Continue with Next Folder": the folder that plays next is found and read while this one plays.

namespace halvenor {

void AppState::scheduleNextFolderPreparation() {}

}  // namespace halvenor
