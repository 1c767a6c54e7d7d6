#include "ui/settings/SettingsTab.h"

namespace halvenor {

QString rawValue(SettingsTab tab) {
    switch (tab) {
        case SettingsTab::locations:
            return QStringLiteral("Locations");
        case SettingsTab::hotkeys:
            return QStringLiteral("Hotkeys");
        case SettingsTab::help:
            return QStringLiteral("Help");
        case SettingsTab::about:
            return QStringLiteral("About");
        case SettingsTab::general:
            break;
    }
    return QStringLiteral("General");
}

QString iconName(SettingsTab tab) {
    switch (tab) {
        case SettingsTab::locations:
            return QStringLiteral("folder.badge.plus");
        case SettingsTab::hotkeys:
            return QStringLiteral("keyboard");
        case SettingsTab::help:
            return QStringLiteral("questionmark.circle");
        case SettingsTab::about:
            return QStringLiteral("info.circle");
        case SettingsTab::general:
            break;
    }
    return QStringLiteral("slider.horizontal.3");
}

}  // namespace halvenor
