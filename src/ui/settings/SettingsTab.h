#pragma once

#include <QString>

#include <array>

namespace halvenor {

/// The pages of the settings.
enum class SettingsTab { general, locations, hotkeys, help, about };

inline constexpr std::array allSettingsTabs{SettingsTab::general, SettingsTab::locations,
                                            SettingsTab::hotkeys, SettingsTab::help,
                                            SettingsTab::about};

/// Its title.
QString rawValue(SettingsTab tab);
/// The symbol beside the title.
QString iconName(SettingsTab tab);

}  // namespace halvenor
