#pragma once

#include <QSizeF>

namespace halvenor {

/// The sizes in Cover Mode, in device-independent pixels. Pure. At a width of 1400 several of them
/// step: the design has one proportion for laptops and one for large screens.
struct CoverModeLayout {
    explicit CoverModeLayout(const QSizeF& window);

    double gutter;         ///< between the cover's pane and the controls
    double column;         ///< the controls' width
    double pane;           ///< the cover's pane, the cover in its middle
    double coverSide;      ///< the cover is square and never grows past 500
    double timelineWidth;  ///< the timeline's row, within the column
    double volumeWidth;    ///< the volume's row, within the column
};

}  // namespace halvenor
