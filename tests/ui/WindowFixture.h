#pragma once

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QListView>
#include <QMenu>
#include <QTemporaryDir>
#include <QTest>

#include <gmock/gmock.h>
#include <memory>
#include <stdexcept>

#include "platform/appearance/DesktopPreferences.h"
#include "support/EventLoop.h"
#include "ui/ExampleLibrary.h"
#include "ui/mainwindow/MainWindow.h"
#include "ui/sidebar/FolderTreeView.h"
#include "ui/sidebar/SidebarView.h"
#include "ui/theme/ThemeInstaller.h"
#include "ui/tracklist/TrackListPane.h"
#include "ui/tracklist/TrackListView.h"

namespace halvenor::test {

/// The control that assistive technology knows by this name, among those that show.
/// @throws std::runtime_error if there is none
template <class T>
T& findByName(QWidget& window, const char* name) {
    for (T* widget : window.findChildren<T*>()) {
        if (widget->accessibleName() == QString::fromUtf8(name) && widget->isVisibleTo(&window)) {
            return *widget;
        }
    }
    throw std::runtime_error(name);
}

/// The main window on a state of its own, shown and active.
class WindowFixture : public testing::Test {
  protected:
    WindowFixture() : state(makeState(FileUrl(home.path().toUtf8() + "/settings.json"))) {
        installTheme(*state, *qApp);
        window = std::make_unique<MainWindow>(*state, preferences);
        window->show();
        QApplication::setActiveWindow(window.get());
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    }

    ~WindowFixture() override {
        window.reset();
        state.reset();
        QCoreApplication::processEvents();  // Tasks that were under way see that it is gone.
    }

    FolderTreeView& tree() { return window->sidebar().tree(); }
    TrackListView& list() { return window->trackList().list(); }
    AudioEngineManager& engine() { return state->audioEngine(); }

    static QPoint centreOf(const QListView& view, int row) {
        return view.visualRect(view.model()->index(row, 0)).center();
    }
    static void click(QListView& view, int row, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mouseClick(view.viewport(), Qt::LeftButton, modifiers, centreOf(view, row));
    }
    void clickButton(const char* name) {
        QTest::mouseClick(&findByName<QAbstractButton>(*window, name), Qt::LeftButton);
    }
    // As a keyboard sends it: with a scan code.
    static bool press(QWidget& receiver, quint32 scan, Qt::Key key,
                      Qt::KeyboardModifiers modifiers = {}, const QString& text = {}) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, scan, 0, 0, text);
        QCoreApplication::sendEvent(&receiver, &event);
        return event.isAccepted();
    }
    // Shows tracks named 0, 1, ... as those of a folder below "/music".
    void showTracks(int count, const QByteArray& folder = "t") {
        const QByteArray place = "/music/" + folder;
        TrackList tracks;
        for (int i = 0; i < count; ++i) {
            const QByteArray number = QByteArray::number(i);
            tracks.append(exampleTrack(place + "/" + number, QString::fromLatin1(number),
                                       QStringLiteral("Artist")));
        }
        state->selectedFolder = FolderItem(FileUrl(place), true);
        state->playbackQueue = tracks;
        QTest::qWait(1);
    }

    QTemporaryDir home;
    DesktopPreferences preferences;
    std::unique_ptr<AppState> state;
    std::unique_ptr<MainWindow> window;
};

/// The context menu at a place of a list, as the pointer opens it. Closed at the end of its life.
class ContextMenu {
  public:
    ContextMenu(QListView& view, const QPoint& place) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, place,
                                view.viewport()->mapToGlobal(place));
        QCoreApplication::sendEvent(view.viewport(), &event);
        menu_ = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (menu_ == nullptr) {
            throw std::runtime_error("no menu opened");
        }
    }
    ContextMenu(const ContextMenu&) = delete;
    ContextMenu& operator=(const ContextMenu&) = delete;
    ~ContextMenu() {
        if (menu_ != nullptr) {
            menu_->close();
        }
    }

    /// The entries' texts, those that are disabled in brackets.
    std::vector<std::string> texts() const { return textsOf(*menu_); }
    std::vector<std::string> submenuTexts(const char* label) const {
        return textsOf(*find(*menu_, label).menu());
    }
    void choose(const char* label) { trigger(find(*menu_, label)); }
    void choose(const char* label, const char* sublabel) {
        trigger(find(*find(*menu_, label).menu(), sublabel));
    }

  private:
    static std::vector<std::string> textsOf(const QMenu& menu) {
        std::vector<std::string> texts;
        for (const QAction* action : menu.actions()) {
            if (!action->isSeparator()) {
                const std::string text = action->text().toStdString();
                texts.push_back(action->isEnabled() ? text : "(" + text + ")");
            }
        }
        return texts;
    }
    static QAction& find(const QMenu& menu, const char* label) {
        for (QAction* action : menu.actions()) {
            if (action->text() == QString::fromUtf8(label)) {
                return *action;
            }
        }
        throw std::runtime_error(label);
    }
    // A menu closes before its action runs.
    void trigger(QAction& action) {
        menu_->close();
        action.trigger();
    }

    QPointer<QMenu> menu_;
};

}  // namespace halvenor::test
