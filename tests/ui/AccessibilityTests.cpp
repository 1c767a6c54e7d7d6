// What assistive technology is told: every control that can be used has a name and says what it
// is, on every pane.
#include <QAccessible>
#include <QAccessibleActionInterface>

#include <functional>

#include "ui/WindowFixture.h"
#include "ui/settings/SettingsView.h"

namespace halvenor::test {
namespace {

class AccessibilityTest : public WindowFixture {
  protected:
    AccessibilityTest() {
        fillWithExample(*state);
        state->playlistManager().createPlaylist(QStringLiteral("A"), {});
        QTest::qWait(50);
    }

    static bool isControl(QAccessibleInterface& item) {
        switch (item.role()) {
            case QAccessible::Button:
            case QAccessible::ButtonMenu:
            case QAccessible::CheckBox:
            case QAccessible::RadioButton:
            case QAccessible::ComboBox:
            case QAccessible::EditableText:
            case QAccessible::Slider:
            case QAccessible::List:
            case QAccessible::ListItem:
            case QAccessible::Tree:
            case QAccessible::Link:
            case QAccessible::PageTab:
                return true;
            default:
                return item.state().focusable;
        }
    }

    // Everything that shows, however deep; of long lists the beginning.
    void walk(QAccessibleInterface* item, const std::function<void(QAccessibleInterface&)>& visit) {
        if (item == nullptr || !item->isValid() || item->state().invisible) {
            return;
        }
        visit(*item);
        for (int i = 0; i < std::min(item->childCount(), 40); ++i) {
            walk(item->child(i), visit);
        }
    }

    void expectEverythingNamed(const char* pane) {
        QTest::qWait(30);
        int controls = 0;
        walk(QAccessible::queryAccessibleInterface(window.get()), [&](QAccessibleInterface& item) {
            if (!isControl(item)) {
                return;
            }
            ++controls;
            const QObject* object = item.object();
            const QString what =
                QStringLiteral("%1: %2 of role %3")
                    .arg(QString::fromLatin1(pane),
                         object != nullptr ? QString::fromLatin1(object->metaObject()->className())
                                           : QStringLiteral("an item"))
                    .arg(item.role());
            EXPECT_FALSE(item.text(QAccessible::Name).trimmed().isEmpty()) << qPrintable(what);
            EXPECT_NE(item.role(), QAccessible::NoRole) << qPrintable(what);
            EXPECT_NE(item.role(), QAccessible::Client)
                << qPrintable(what + QLatin1Char(' ') + item.text(QAccessible::Name));
        });
        EXPECT_GT(controls, 5) << pane;
    }
};

TEST_F(AccessibilityTest, everyControlHasANameAndARole) {
    expectEverythingNamed("player");
    state->isPlaybackQueuePresented = true;
    expectEverythingNamed("history");
    state->isPlaybackQueuePresented = false;
    clickButton("Playlists");
    expectEverythingNamed("playlists");
    clickButton("Add New Playlist");
    expectEverythingNamed("a new playlist");
    key(Qt::Key_Escape);
    clickButton("Folders");
    clickButton("Search");
    expectEverythingNamed("search");
    state->isSettingsPresented = true;
    for (const SettingsTab tab : allSettingsTabs) {
        window->settings()->selectTab(tab);
        expectEverythingNamed(qPrintable(rawValue(tab)));
    }
    state->isSettingsPresented = false;
    state->showWaveform = false;
    expectEverythingNamed("player with a slider");
    state->isCoverModePresented = true;
    expectEverythingNamed("Cover Mode");
    state->isCoverModePresented = false;
    state->rootFolders = FolderList();
    state->playbackQueue = TrackList();
    expectEverythingNamed("an empty library");
    state->playbackErrorMessage = QStringLiteral("Trouble");
    expectEverythingNamed("an error");
}

TEST_F(AccessibilityTest, everyControlOfThePlayerIsReachedByTab) {
    Texts reached;
    tree().setFocus();
    do {
        key(Qt::Key_Tab);
        reached.push_back(focused());
    } while (reached.size() < 60 && !tree().hasFocus());
    const std::pair<const char*, Texts> panes[] = {
        {"sidebar",
         {"Preferences (F10)", "Folders", "Playlists", "Search", "Show Checked Folders"}},
        {"track list", {"Mark Folder", "Tracks", "Album Menu"}},
        {"player bar",
         {"Show Playing Track Folder", "Previous (,)", "Pause (Space)", "Next (.)", "Position",
          "Add to Favorites (l)", "Shuffle", "Repeat Off", "Toggle mute (m)", "Volume",
          "Cover Mode (c)", "History (h)", "More"}},
    };
    for (const auto& [pane, names] : panes) {
        EXPECT_THAT(reached, testing::IsSupersetOf(names)) << pane;
    }
}

}  // namespace
}  // namespace halvenor::test
