#pragma once

class QApplication;

namespace halvenor {

class AppState;

/// Gives the program its font, style and colours, and lets the active theme follow
/// AppState::selectedTheme for the rest of the program. Called once, before any view is made: a
/// view that hears of a new theme must find it active.
/// @param state outlives every window; the following ends with it
void installTheme(AppState& state, QApplication& application);

}  // namespace halvenor
