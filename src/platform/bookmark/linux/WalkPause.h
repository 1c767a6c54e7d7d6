#pragma once

#include <QSet>

#include <chrono>
#include <cstdint>
#include <vector>

namespace halvenor {

/// When a walk is due. What a walk has not found is most likely gone or away, and asking the whole
/// disk again every few seconds would help nobody: the pause between walks doubles, until something
/// is lost that no walk has looked for yet.
class WalkPause {
  public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::seconds shortest = std::chrono::minutes(1);
    static constexpr std::chrono::seconds longest = std::chrono::hours(1);

    /// Whether to walk for these items, named by any numbers of their own.
    bool isOver(const std::vector<uint64_t>& lost, Clock::time_point now) const;
    /// A walk for `lost` ended at `now`. What it has found is to be reported as any other item is.
    void hasWalked(const std::vector<uint64_t>& lost, Clock::time_point now);

    /// Whether anything is remembered, so that reports are of use.
    bool knowsLost() const { return !known_.isEmpty(); }
    /// The item is there; should it be lost again, it is newly lost.
    void isThere(uint64_t item) { known_.remove(item); }
    /// There are new places to look at.
    void forget() { known_.clear(); }

  private:
    bool areKnown(const std::vector<uint64_t>& lost) const;

    QSet<uint64_t> known_;  // looked for in vain
    std::chrono::seconds pause_ = shortest;
    Clock::time_point next_;
};

}  // namespace halvenor
