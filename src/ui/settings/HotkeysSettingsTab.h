#pragma once

#include <QString>
#include <QUuid>

#include <array>
#include <vector>

#include "ui/settings/SettingsPage.h"

namespace halvenor {

/// What the keys do, to read. The keys themselves are the window's.
class HotkeysSettingsTab : public SettingsPage {
  public:
    struct HotkeyRow {
        QUuid id = QUuid::createUuid();
        QString action;
        QString shortcut;
    };

    HotkeysSettingsTab();

    static std::vector<HotkeyRow> hotkeys();
};

}  // namespace halvenor
