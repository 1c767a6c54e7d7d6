#pragma once

#include <optional>

#include "model/Track.h"

namespace halvenor {

class AppState;

/// The track that plays, as the panes show it: the engine keeps the record that was loaded, and the
/// selected one gets the tags that were read since. Main thread.
std::optional<Track> shownTrack(AppState& state);

}  // namespace halvenor
