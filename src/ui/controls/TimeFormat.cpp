#include "ui/controls/TimeFormat.h"

#include <cmath>
#include <cstdint>

namespace halvenor {

QString formatTime(double seconds) {
    // Beyond this a double has no whole seconds left to show, and an integer no room for them.
    constexpr double limit = 9e15;
    if (!std::isfinite(seconds) || seconds < 0 || seconds > limit) {
        return QStringLiteral("0:00");
    }
    const auto total = static_cast<int64_t>(seconds);
    return QStringLiteral("%1:%2").arg(total / 60).arg(total % 60, 2, 10, QLatin1Char('0'));
}

}  // namespace halvenor
