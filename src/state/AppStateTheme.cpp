#include "state/AppState.h"

namespace halvenor {

void AppState::applySystemColorScheme(SystemAppearance appearance) {
    if (*followOSTheme) {
        followAppearance(appearance);
    }
}

void AppState::followAppearance(SystemAppearance appearance) {
    const AppTheme theme =
        appearance == SystemAppearance::dark ? AppTheme::systemDark : AppTheme::systemLight;
    if (theme != *selectedTheme) {
        selectedTheme = theme;
    }
}

}  // namespace halvenor
