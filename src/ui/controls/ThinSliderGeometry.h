#pragma once

namespace halvenor {

/// Where a thin slider's parts lie, in device-independent pixels, and what a place on it means.
/// Pure.
struct ThinSliderGeometry {
    double width = 0;  ///< of the control
    double lower = 0;
    double upper = 1;
    double knobDiameter = 9.6;

    /// The way that the knob's centre can go; at least 1.
    double usableWidth() const;
    /// 0...1; 0 for a value that is no number.
    double fraction(double value) const;
    /// From the control's left edge to the knob's centre, which is the end of the filled part.
    double filledWidth(double value) const;
    /// The value for a pointer at `x`, held within the range.
    double valueAt(double x) const;

  private:
    double span() const;
};

}  // namespace halvenor
