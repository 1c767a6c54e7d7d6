#include "ui/mainwindow/SplitRule.h"

#include <algorithm>

namespace halvenor {

namespace {
constexpr double leastSide = 270;
constexpr double leastFraction = 0.3;
constexpr double greatestFraction = 0.6;
}  // namespace

double splitFraction(double wanted, double width) {
    const double lowest = width >= 1 ? std::max(leastSide / width, leastFraction) : leastSide;
    const double highest = std::min(1 - leastSide / std::max(width, 1.0), greatestFraction);
    return std::min(std::max(wanted, lowest), highest);
}

double splitFractionForDrag(double x, double width) {
    return splitFraction(width >= 1 ? x / width : x, width);
}

}  // namespace halvenor
