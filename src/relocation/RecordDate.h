#pragma once

#include <cstdint>
#include <ctime>

/// Records' dates: seconds since 2001-01-01 00:00 UTC, good to about 0.1 microseconds. Always made
/// from nanoseconds here, so that one moment gives one number.
namespace halvenor {

constexpr int64_t nanosecondsPerSecond = 1'000'000'000;

/// @param nanoseconds since 1970-01-01 00:00 UTC
constexpr double recordDate(int64_t nanoseconds) {
    constexpr int64_t secondsFrom1970To2001 = 978'307'200;
    const int64_t whole = nanoseconds / nanosecondsPerSecond - secondsFrom1970To2001;
    return static_cast<double>(whole) +
           static_cast<double>(nanoseconds % nanosecondsPerSecond) / nanosecondsPerSecond;
}

/// The latest moment that no file written from now on is older than: file systems take times from
/// this clock, which goes in steps of some milliseconds, or from a finer one. So a file written
/// just before may be younger than this.
inline double currentRecordDate() {
    timespec now = {};
    ::clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return recordDate(now.tv_sec * nanosecondsPerSecond + now.tv_nsec);
}

}  // namespace halvenor
