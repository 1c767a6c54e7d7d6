#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace halvenor::test {

/// Where two recordings part, in samples; -1 when they are the same. Readable where a matcher would
/// print a million numbers.
inline int64_t firstDifference(const std::vector<float>& a, const std::vector<float>& b) {
    const auto [first, second] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    return first == a.end() && second == b.end() ? -1 : first - a.begin();
}

}  // namespace halvenor::test
