#include "platform/bookmark/linux/WalkPause.h"

#include <algorithm>

namespace halvenor {

bool WalkPause::isOver(const std::vector<uint64_t>& lost, Clock::time_point now) const {
    return now >= next_ || !areKnown(lost);
}

void WalkPause::hasWalked(const std::vector<uint64_t>& lost, Clock::time_point now) {
    constexpr qsizetype most = 100'000;  // items; only those that are still asked for matter
    pause_ = areKnown(lost) ? std::min(pause_ * 2, longest) : shortest;
    next_ = now + pause_;
    if (known_.size() > most) {
        known_.clear();
    }
    known_.unite(QSet<uint64_t>(lost.begin(), lost.end()));
}

bool WalkPause::areKnown(const std::vector<uint64_t>& lost) const {
    return std::ranges::all_of(lost, [this](uint64_t item) { return known_.contains(item); });
}

}  // namespace halvenor
