#pragma once

#include <cstdint>
#include <memory>
#include <xcb/xcb.h>

#include "support/ChildProcess.h"

namespace halvenor::bench {

/// A private X server without a screen to look at, 1280 by 800. While it lives, DISPLAY points this
/// process and its children at it.
class XServer {
  public:
    /// @throws std::runtime_error when none answers
    XServer();

    /// One pixel as the screen shows it now, 0xRRGGBB.
    uint32_t pixel(int16_t x, int16_t y) const;

  private:
    test::ChildProcess process_;
    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection_;
};

}  // namespace halvenor::bench
