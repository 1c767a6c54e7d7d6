#pragma once

#include <QAbstractButton>

namespace halvenor {

/// Makes a button one of several of which exactly one is chosen: Tab leads to the chosen one, the
/// arrow keys from there to the others.
inline void makeExclusive(QAbstractButton& button) {
    button.setCheckable(true);
    button.setAutoExclusive(true);
}

/// Shows whether it is the chosen one. The toolkit moves the Tab stop for clicks and keys alone;
/// this does so for a choice that came from elsewhere.
inline void setChosen(QAbstractButton& button, bool isChosen) {
    button.setChecked(isChosen);
    button.setFocusPolicy(isChosen ? Qt::TabFocus : Qt::NoFocus);
}

}  // namespace halvenor
