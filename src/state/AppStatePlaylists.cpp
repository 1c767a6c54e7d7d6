#include "state/AppState.h"

// Playlists and favourites, as the window uses them.

namespace halvenor {

void AppState::subscribeToPlaylists() {}

}  // namespace halvenor
