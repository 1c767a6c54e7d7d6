#pragma once

#include "ui/settings/SettingsPage.h"

namespace halvenor {

/// Ways to the guide on the web and to the manual.
class HelpSettingsTab : public SettingsPage {
  public:
    HelpSettingsTab();
};

}  // namespace halvenor
