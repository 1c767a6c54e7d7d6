#pragma once

#include <map>

#include "ui/settings/SettingsTab.h"
#include "ui/sheets/Overlay.h"

class QScrollArea;

namespace halvenor {

class AppState;
class IconButton;
class TabButton;

/// The settings, as a sheet: a row of tabs, and the page of the one that is chosen. Everything acts
/// at once.
class SettingsView : public Overlay {
  public:
    SettingsView(AppState& state, QWidget* window);

    /// Follows AppState::isSettingsPresented.
    void setPresented(bool isPresented);
    SettingsTab selectedTab() const { return selectedTab_; }
    void selectTab(SettingsTab tab);

  protected:
    void cancel() override { dismiss(); }
    QRect cardRect() const override;
    void layOutCard() override;
    void paintCard(QPainter& painter) override;

  private:
    void dismiss();
    QWidget* makePage(SettingsTab tab);

    AppState& state_;
    SettingsTab selectedTab_ = SettingsTab::general;
    IconButton* close_;
    std::map<SettingsTab, TabButton*> tabs_;
    /// Each page is made when it is first shown.
    std::map<SettingsTab, QScrollArea*> pages_;
};

}  // namespace halvenor
