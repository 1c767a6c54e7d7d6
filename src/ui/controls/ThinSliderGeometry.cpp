#include "ui/controls/ThinSliderGeometry.h"

#include <algorithm>
#include <cmath>

namespace halvenor {

double ThinSliderGeometry::usableWidth() const {
    return std::max(width - knobDiameter, 1.0);
}

double ThinSliderGeometry::span() const {
    return std::max(upper - lower, 0.0001);
}

double ThinSliderGeometry::fraction(double value) const {
    if (std::isnan(value)) {
        return 0;
    }
    return std::clamp((value - lower) / span(), 0.0, 1.0);
}

double ThinSliderGeometry::filledWidth(double value) const {
    return usableWidth() * fraction(value) + knobDiameter * 0.5;
}

double ThinSliderGeometry::valueAt(double x) const {
    const double place = std::clamp(x - knobDiameter * 0.5, 0.0, usableWidth());
    return lower + span() * (place / usableWidth());
}

}  // namespace halvenor
