#pragma once

#include <latch>
#include <thread>

namespace halvenor {

/// Makes the system's fonts known on a thread of its own, beside the rest of the start.
///
/// The first text that is measured needs them, and finding them is the longest single work of a
/// start: the configuration is read while the display is connected, and the families are listed
/// while the window is made. Made before the application object; main thread.
class FontPreload {
  public:
    FontPreload();

    /// The application object is there: the families can be listed.
    void applicationIsReady() { application_.count_down(); }
    /// Waits until all is done. Called before the first text is drawn: who draws sooner would begin
    /// the same work once more.
    void finish();

  private:
    std::latch application_{1};
    std::jthread thread_;
};

}  // namespace halvenor
