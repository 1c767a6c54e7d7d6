#pragma once

#include "base/Published.h"
#include "ui/settings/SettingsPage.h"

namespace halvenor {

class AppState;
class FileUrl;

/// The Locations: where they are, which of them are away, and ways to find what has moved.
class LocationsSettingsTab : public SettingsPage {
  public:
    explicit LocationsSettingsTab(AppState& state);

  private:
    void scheduleRefresh();
    void refresh();
    void addMissingFolders(QVBoxLayout& rows);
    void addLocations(QVBoxLayout& rows);

    AppState& state_;
    QWidget* progress_;
    /// What changes with the library, made anew each time.
    QWidget* rows_ = nullptr;
    bool isRefreshScheduled_ = false;
    Subscriptions subscriptions_;
};

}  // namespace halvenor
