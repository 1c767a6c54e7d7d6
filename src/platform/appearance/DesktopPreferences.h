#pragma once

#include <chrono>
#include <memory>

#include "base/Published.h"
#include "platform/appearance/SystemAppearance.h"

namespace halvenor {

/// What the user has set for the whole desktop, as far as it is this program's business. Holds the
/// toolkit's idea of it at first; the desktop's own word, and each change of it, follow once
/// start() has found somebody to ask. Main thread; nothing here waits for another process.
class DesktopPreferences {
  public:
    /// Made before the program sets a palette of its own: the toolkit's tells light from dark.
    DesktopPreferences();
    DesktopPreferences(const DesktopPreferences&) = delete;
    DesktopPreferences& operator=(const DesktopPreferences&) = delete;
    ~DesktopPreferences();

    Published<SystemAppearance> appearance;
    /// Things must not move by themselves.
    Published<bool> reducesMotion{false};

    /// Begins to listen to the desktop.
    /// @param delay from now; the window comes first
    void start(std::chrono::milliseconds delay = std::chrono::milliseconds(300));

  private:
    class Portal;
    std::unique_ptr<Portal> portal_;
};

}  // namespace halvenor
