#pragma once

#include <QRect>

#include "model/Artwork.h"

class QPainter;

namespace halvenor {

/// Draws a cover into `area` with rounded corners, or a plate with the note symbol where there is
/// none, it is no image, or it is not decoded yet (CoverCache tells when it is).
/// @param symbolSize of the note
void paintCover(QPainter& painter, const QRect& area, const Artwork& artwork, double cornerRadius,
                double symbolSize);

}  // namespace halvenor
