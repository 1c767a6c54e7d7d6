#include "ui/settings/HotkeysSettingsTab.h"

#include "ui/settings/Keycap.h"
#include "ui/settings/SettingsRow.h"

namespace halvenor {

std::vector<HotkeysSettingsTab::HotkeyRow> HotkeysSettingsTab::hotkeys() {
    constexpr std::array<std::array<const char*, 2>, 9> table{{{"Play / Pause", "Space"},
                                                               {"Next Track", "."},
                                                               {"Previous Track", ","},
                                                               {"Mute / Unmute", "M"},
                                                               {"History", "H"},
                                                               {"Toggle Favorite", "L"},
                                                               {"Go to Folder", "G"},
                                                               {"Cover Mode", "C"},
                                                               {"Open Settings", "Cmd + ,"}}};
    std::vector<HotkeyRow> rows;
    for (const auto& [action, shortcut] : table) {
        rows.push_back(
            {.action = QString::fromLatin1(action), .shortcut = QString::fromLatin1(shortcut)});
    }
    return rows;
}

HotkeysSettingsTab::HotkeysSettingsTab() {
    addHeader(QStringLiteral("Keyboard Shortcuts"));
    for (const HotkeyRow& hotkey : hotkeys()) {
        auto* row = new SettingsRow({}, hotkey.action);
        row->setMinimumHeight(36);
        row->addControl(new Keycap(hotkey.shortcut));
        add(row);
    }
    finish();
}

}  // namespace halvenor
