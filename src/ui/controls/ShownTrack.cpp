#include "ui/controls/ShownTrack.h"

#include "state/AppState.h"

namespace halvenor {

std::optional<Track> shownTrack(AppState& state) {
    const auto& current = *state.audioEngine().currentTrack;
    const auto& selected = *state.selectedTrack;
    return current && selected && selected->id() == current->id() ? selected : current;
}

}  // namespace halvenor
