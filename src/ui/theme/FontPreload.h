#pragma once

namespace halvenor {

/// Starts reading the system's list of fonts on a thread of its own and returns at once. The first
/// text that is measured needs the list, which takes several milliseconds: called at the very
/// beginning, before the application object is made, it is read while the display is connected.
void preloadFonts();

}  // namespace halvenor
