#include <QCheckBox>
#include <QShortcut>

#include "ui/WindowFixture.h"
#include "ui/controls/MenuPicker.h"
#include "ui/settings/HotkeysSettingsTab.h"
#include "ui/settings/SettingsView.h"

namespace halvenor::test {
namespace {

class SettingsTest : public WindowFixture {
  protected:
    void open(SettingsTab tab = SettingsTab::general) {
        state->isSettingsPresented = true;
        window->settings()->selectTab(tab);
        QTest::qWait(5);
    }
};

TEST_F(SettingsTest, openByKeyOnlyAndToggleByShortcut) {
    press(*window, 76, Qt::Key_F10, Qt::ControlModifier);
    ASSERT_TRUE(*state->isSettingsPresented);
    EXPECT_TRUE(window->settings()->isVisible());
    press(*window, 76, Qt::Key_F10);
    EXPECT_TRUE(*state->isSettingsPresented) << "it only opens";
    EXPECT_TRUE(window->settings()->isAncestorOf(QApplication::focusWidget()));
    key(Qt::Key_Escape);
    EXPECT_FALSE(*state->isSettingsPresented);
    EXPECT_FALSE(window->settings()->isVisible());
    auto* shortcut = window->findChild<QShortcut*>();
    ASSERT_EQ(shortcut->key(), QKeySequence(QStringLiteral("Ctrl+,")));
    Q_EMIT shortcut->activated();
    EXPECT_TRUE(*state->isSettingsPresented);
    Q_EMIT shortcut->activated();
    EXPECT_FALSE(*state->isSettingsPresented);
    clickButton("Preferences (F10)");
    EXPECT_TRUE(*state->isSettingsPresented);
    clickButton("Close");
    EXPECT_FALSE(*state->isSettingsPresented);
}

TEST_F(SettingsTest, keepTheFocusAndAreReachedByTab) {
    open();
    QSet<QString> reached;
    for (int i = 0; i < 30; ++i) {
        key(Qt::Key_Tab);
        ASSERT_TRUE(window->settings()->isAncestorOf(QApplication::focusWidget()));
        const auto* button = qobject_cast<QAbstractButton*>(QApplication::focusWidget());
        reached << (button->accessibleName().isEmpty() ? button->text() : button->accessibleName());
    }
    for (const char* name : {"General", "Close", "Output device", "Refresh Audio Devices",
                             "Follow OS Theme", "Enable Waveform", "Liquid Titan"}) {
        EXPECT_TRUE(reached.contains(QString::fromUtf8(name))) << name;
    }
    EXPECT_TRUE(reached.contains(rawValue(*state->selectedTheme)));
    // Among choices that exclude each other the arrow keys go on.
    button("General").setFocus();
    for (const SettingsTab tab :
         {SettingsTab::locations, SettingsTab::hotkeys, SettingsTab::help, SettingsTab::about}) {
        key(Qt::Key_Right);
        EXPECT_EQ(window->settings()->selectedTab(), tab);
    }
}

TEST_F(SettingsTest, actAtOnce) {
    open();
    const auto check = [&](const char* text) {
        for (auto* box : window->settings()->findChildren<QCheckBox*>()) {
            if (box->text() == QString::fromUtf8(text)) {
                box->click();
            }
        }
    };
    check("Follow OS Theme");
    EXPECT_FALSE(*state->followOSTheme);
    clickButton("System Light");
    EXPECT_EQ(*state->selectedTheme, AppTheme::systemLight);
    check("Follow OS Theme");
    EXPECT_EQ(*state->selectedTheme, AppTheme::systemDark) << "the desktop's, at once";
    clickButton("Halvenor Dark");
    EXPECT_EQ(*state->selectedTheme, AppTheme::halvenorDark) << "a choice by hand holds";
    const bool wasShown = *state->showWaveform;
    check("Enable Waveform");
    EXPECT_NE(*state->showWaveform, wasShown);
    check("Liquid Titan");
    EXPECT_TRUE(*state->useLiquidTitanWaveform);
}

TEST_F(SettingsTest, listTheDevicesAndTheirTrouble) {
    open();
    engine().outputDevices =
        QList<AudioOutputDevice>{{QStringLiteral("a"), QStringLiteral("Amp"), 1},
                                 {QStringLiteral("b"), QStringLiteral("Amp"), 2}};
    engine().defaultOutputDeviceName = QStringLiteral("Speakers & Co");
    auto& picker = findByName<MenuPicker>(*window, "Output device");
    EXPECT_EQ(picker.text(), QStringLiteral("Default - Speakers & Co"));
    ASSERT_EQ(picker.items().size(), 3);
    EXPECT_EQ(picker.items()[2].id, QStringLiteral("b")) << "two of one name are two";
    engine().selectedOutputDeviceUID = QStringLiteral("b");
    EXPECT_EQ(picker.text(), QStringLiteral("Amp"));
    engine().outputDeviceError = QStringLiteral("Audio output device is unavailable: b");
    EXPECT_TRUE(shows("Audio output device is unavailable: b"));
    QString chosen;
    picker.onChosen = [&](const QString& uid) { chosen = uid; };
    picker.click();
    OpenMenu().choose("Amp");
    EXPECT_EQ(chosen, QStringLiteral("a"));
}

TEST_F(SettingsTest, showTheLocationsAsTheyAre) {
    open(SettingsTab::locations);
    EXPECT_TRUE(comesToShow("Scanned Folders (0)"));
    EXPECT_TRUE(shows("No media folders added yet. Click 'Add Location' to pick a folder."));
    EXPECT_FALSE(shows("Unavailable Folders"));
    state->libraryFolders = std::vector<FileUrl>{FileUrl(home.path().toUtf8()), FileUrl("/a/Away")};
    state->availableLocationPaths = QSet<QByteArray>{home.path().toUtf8()};
    EXPECT_TRUE(comesToShow("Scanned Folders (2)"));
    const Texts now = texts();
    EXPECT_LT(std::ranges::find(now, home.path().toStdString()), std::ranges::find(now, "/a/Away"))
        << "in the order they were added";
    EXPECT_EQ(std::ranges::count(now, "Unavailable — links retained"), 1);
    state->isRelocating = true;
    EXPECT_TRUE(comesToShow("Checking folder contents…"));
    state->isRelocating = false;
    EXPECT_TRUE(spinUntil([&] { return !shows("Checking folder contents…"); }));
    EXPECT_TRUE(comesToShow("Scanned Folders (2)"));
    clickButton("Remove Location");
    EXPECT_EQ(state->libraryFolders->size(), 1U);
    EXPECT_TRUE(comesToShow("Scanned Folders (1)"));
}

TEST_F(SettingsTest, listTheKeys) {
    open(SettingsTab::hotkeys);
    const auto rows = HotkeysSettingsTab::hotkeys();
    ASSERT_EQ(rows.size(), 9U);
    EXPECT_EQ(rows[8].shortcut, QStringLiteral("Cmd + ,"));
    for (const auto& row : rows) {
        EXPECT_TRUE(shows(row.action.toStdString()));
        EXPECT_TRUE(shows(row.shortcut.toStdString()));
    }
}

TEST_F(SettingsTest, helpAndAboutLeadOut) {
    open(SettingsTab::help);
    EXPECT_NO_THROW(button("View Quick Guide"));
    button("Open Full Manual (PDF)").click();
    open(SettingsTab::about);
    EXPECT_TRUE(shows("Version 1.0.0 (Native Pelmorin Edition)"));
}

}  // namespace
}  // namespace halvenor::test
