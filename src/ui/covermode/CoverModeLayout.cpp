#include "ui/covermode/CoverModeLayout.h"

#include <algorithm>

namespace halvenor {

namespace {

constexpr double wideWindow = 1400;
constexpr double narrowWindow = 1280;
constexpr double leastColumn = 260;
constexpr double largestCover = 500;

double coverSideIn(double pane, double height, double fill) {
    const double across = pane * fill;
    const double down = height * fill;
    return across < largestCover ? std::min(across, down) : std::min(down, largestCover);
}

}  // namespace

CoverModeLayout::CoverModeLayout(const QSizeF& window) {
    const double width = window.width();
    const bool isWide = width >= wideWindow;
    gutter = width * (isWide ? 0.08 : 0.05);
    column = std::max(width * 0.4 - gutter, leastColumn);
    pane = width * 0.6;
    coverSide = coverSideIn(pane, window.height(), isWide ? 0.84 : 0.9);
    timelineWidth = column * (isWide ? 0.9 : width <= narrowWindow ? 1.0 : 0.95);
    volumeWidth = column * 0.25;
}

}  // namespace halvenor
