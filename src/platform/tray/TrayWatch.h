#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace halvenor {

/// Tells when the desktop has a tray for a status item.
///
/// A panel may come long after a program that starts with the session, and the toolkit looks for a
/// tray once: asked too early it finds none for ever, asked without need it does much for nothing.
/// Once it has found one it follows that by itself. Main thread; nothing here waits for another
/// process than the X server.
class TrayWatch {
  public:
    /// @param onTray there is a tray; called again when more is seen of one
    explicit TrayWatch(std::function<void()> onTray);
    TrayWatch(const TrayWatch&) = delete;
    TrayWatch& operator=(const TrayWatch&) = delete;
    ~TrayWatch();

    /// Looks for the first time after `delay`, and listens from then on.
    void start(std::chrono::milliseconds delay);

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace halvenor
