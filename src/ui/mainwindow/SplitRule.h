#pragma once

namespace halvenor {

/// How the window's width is shared between the sidebar and the track list.
///
/// Either side keeps 270 device-independent pixels where it can, the sidebar takes 30 to 60 in the
/// hundred, and where these cross, in a very narrow window, the upper limit wins. Pure.
/// @param wanted the fraction that the user chose
/// @param width of both sides together
/// @return the sidebar's part of `width`
double splitFraction(double wanted, double width);

/// The fraction for a divider dragged to `x`, in the coordinates of both sides together.
double splitFractionForDrag(double x, double width);

}  // namespace halvenor
