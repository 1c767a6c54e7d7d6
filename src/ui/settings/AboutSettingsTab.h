#pragma once

#include "ui/settings/SettingsPage.h"

namespace halvenor {

/// What the program is, and how to reach its makers.
class AboutSettingsTab : public SettingsPage {
  public:
    AboutSettingsTab();
};

}  // namespace halvenor
