#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

namespace halvenor::bench {

/// How long `work` takes, in seconds by the clock on the wall.
template <class Work>
double seconds(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// The middle one in order of size; of an even number the greater of two. There is at least one.
inline double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<long>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

}  // namespace halvenor::bench
