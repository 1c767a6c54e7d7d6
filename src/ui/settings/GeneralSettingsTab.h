#pragma once

#include "base/Published.h"
#include "ui/settings/SettingsPage.h"

namespace halvenor {

class AppState;
class MenuPicker;
class SegmentedPicker;
class TextLabel;

/// The output device, the theme and the waveform.
class GeneralSettingsTab : public SettingsPage {
  public:
    explicit GeneralSettingsTab(AppState& state);

  protected:
    void showEvent(QShowEvent* event) override;

  private:
    void addDevices();
    void addTheme();
    void addCheckBox(const QString& text, const QString& note, Published<bool>& value);
    void refreshDevices();

    AppState& state_;
    MenuPicker* devices_ = nullptr;
    TextLabel* deviceError_ = nullptr;
    Subscriptions subscriptions_;
};

}  // namespace halvenor
