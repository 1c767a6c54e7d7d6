#pragma once

#include "ui/controls/ThinSlider.h"

namespace halvenor {

/// The sliders of Cover Mode: thin sliders, larger, for a screen that is looked at from further.
inline constexpr ThinSlider::Metrics coverModeSlider{12, 4};

}  // namespace halvenor
