#pragma once

#include <QString>

namespace halvenor {

/// Minutes and seconds, "62:05", without hours. "0:00" for NaN, infinity and what is below 0.
/// @param seconds truncated to whole seconds
QString formatTime(double seconds);

}  // namespace halvenor
