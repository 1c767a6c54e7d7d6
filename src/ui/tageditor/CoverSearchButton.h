#pragma once

#include <functional>

#include "base/Published.h"
#include "ui/controls/TextButton.h"

namespace halvenor {

/// Starts a search for a cover, and tells while one is under way. Pressed again meanwhile it does
/// nothing; it stays enabled, so that the keyboard's focus stays on it.
class CoverSearchButton : public TextButton {
  public:
    /// @param isSearching outlives the button's use
    CoverSearchButton(Published<bool>& isSearching, std::function<void()> search, QWidget* parent);

  private:
    Subscription subscription_;
};

}  // namespace halvenor
