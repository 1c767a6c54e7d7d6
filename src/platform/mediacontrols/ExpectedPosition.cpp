#include "platform/mediacontrols/ExpectedPosition.h"

#include <cmath>

namespace halvenor {

namespace {

constexpr double runningTolerance = 0.5;
constexpr double standingTolerance = 0.001;

}  // namespace

void ExpectedPosition::settle(double position, bool isRunning, TimePoint now) {
    position_ = position;
    isRunning_ = isRunning;
    since_ = now;
}

bool ExpectedPosition::isJump(double actual, TimePoint now) const {
    const std::chrono::duration<double> elapsed = now - since_;
    const double expected = position_ + (isRunning_ ? elapsed.count() : 0);
    return std::abs(actual - expected) > (isRunning_ ? runningTolerance : standingTolerance);
}

}  // namespace halvenor
