#pragma once

#include <QColor>

namespace halvenor {

/// What a control lies on.
enum class Surround {
    theme,  ///< a pane of the active theme
    black,  ///< the black of Cover Mode, in every theme
};

/// The colours of controls.
struct Tints {
    QColor neutral;  ///< symbols and times that are not lit
    QColor active;   ///< modes that are on
    QColor hover;    ///< under the pointer
    QColor accent;   ///< the filled part of a slider that is lit
    QColor track;    ///< the rest of a slider
    QColor knob;     ///< of a slider that is not lit
};

/// The colours on `surround`, for the theme that is active now.
Tints tintsOf(Surround surround);

}  // namespace halvenor
