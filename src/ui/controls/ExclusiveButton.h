#pragma once

#include <QAbstractButton>

namespace halvenor {

/// One of a group of buttons of which exactly one is chosen (QButtonGroup): Tab leads to the chosen
/// one, the arrow keys from there to the others.
///
/// Shows whether it is the chosen one. The toolkit moves the Tab stop for clicks and keys alone;
/// this does so for a choice that came from elsewhere.
inline void setChosen(QAbstractButton& button, bool isChosen) {
    button.setChecked(isChosen);
    button.setFocusPolicy(isChosen ? Qt::TabFocus : Qt::NoFocus);
}

}  // namespace halvenor
