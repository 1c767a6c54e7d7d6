#pragma once

#include <QAbstractButton>
#include <QAbstractItemModelTester>
#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QFileDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QPaintEvent>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gmock/gmock.h>
#include <memory>
#include <numeric>
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

using Texts = std::vector<std::string>;

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

/// The entries' texts: those that are disabled in brackets, a separator as "-".
inline Texts textsOf(const QMenu& menu) {
    Texts texts;
    for (const QAction* action : menu.actions()) {
        const std::string text = action->isSeparator() ? "-" : action->text().toStdString();
        texts.push_back(action->isEnabled() ? text : "(" + text + ")");
    }
    return texts;
}

/// The menu that has just opened. Closed at the end of its life.
class OpenMenu {
  public:
    OpenMenu() : menu_(qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
        if (menu_ == nullptr) {
            throw std::runtime_error("no menu opened");
        }
    }
    OpenMenu(const OpenMenu&) = delete;
    OpenMenu& operator=(const OpenMenu&) = delete;
    ~OpenMenu() {
        if (menu_ != nullptr) {
            menu_->close();
        }
    }

    QMenu& widget() const { return *menu_; }
    Texts texts() const { return textsOf(*menu_); }
    Texts submenuTexts(const char* label) const { return textsOf(*find(*menu_, label).menu()); }
    void choose(const char* label) const { trigger(find(*menu_, label)); }
    void choose(const char* label, const char* sublabel) const {
        trigger(find(*find(*menu_, label).menu(), sublabel));
    }

  private:
    static QAction& find(const QMenu& menu, const char* label) {
        for (QAction* action : menu.actions()) {
            if (action->text() == QString::fromUtf8(label)) {
                return *action;
            }
        }
        throw std::runtime_error(label);
    }
    // A menu closes before its action runs.
    void trigger(QAction& action) const {
        menu_->close();
        action.trigger();
    }

    QPointer<QMenu> menu_;
};

/// Counts what is painted of a widget, and tells where.
class PaintWatch : public QObject {
  public:
    explicit PaintWatch(QWidget& widget) { widget.installEventFilter(this); }
    int count = 0;
    QRegion region;
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            ++count;
            region += static_cast<QPaintEvent*>(event)->region();
        }
        return false;
    }
};

/// A model whose signals are checked against its rows, and counted.
template <class Model>
struct WatchedModel : Model {
    QAbstractItemModelTester tester{this, QAbstractItemModelTester::FailureReportingMode::Fatal};
    QSignalSpy resets{this, &QAbstractItemModel::modelReset};
    QSignalSpy inserted{this, &QAbstractItemModel::rowsInserted};
    QSignalSpy removed{this, &QAbstractItemModel::rowsRemoved};

    WatchedModel() : Model(nullptr) {}
};

/// Tracks with numbers for titles and file names, in a folder below "/music".
inline TrackList numberedTracks(const std::vector<int>& numbers, const QByteArray& folder = "t") {
    TrackList tracks;
    for (const int number : numbers) {
        tracks.append(exampleTrack("/music/" + folder + "/" + QByteArray::number(number),
                                   QString::number(number), QStringLiteral("Artist")));
    }
    return tracks;
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

    QAbstractButton& button(const char* name) { return findByName<QAbstractButton>(*window, name); }
    void clickButton(const char* name) { QTest::mouseClick(&button(name), Qt::LeftButton); }
    static QPoint centreOf(const QListView& view, int row) {
        return view.visualRect(view.model()->index(row, 0)).center();
    }
    static void click(QListView& view, int row, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mouseClick(view.viewport(), Qt::LeftButton, modifiers, centreOf(view, row));
    }
    /// Presses a key where the keyboard is.
    static void key(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    }
    static void type(const char* text) {
        QTest::keyClicks(QApplication::focusWidget(), QString::fromUtf8(text));
    }
    /// Presses a key as a keyboard sends it: with a scan code.
    static bool press(QWidget& receiver, quint32 scan, Qt::Key key,
                      Qt::KeyboardModifiers modifiers = {}, const QString& text = {}) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, scan, 0, 0, text);
        QCoreApplication::sendEvent(&receiver, &event);
        return event.isAccepted();
    }
    /// The context menu at a place of a list, as the pointer opens it.
    static OpenMenu contextMenu(QListView& view, const QPoint& place) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, place,
                                view.viewport()->mapToGlobal(place));
        QCoreApplication::sendEvent(view.viewport(), &event);
        return {};
    }
    static OpenMenu contextMenu(QListView& view, int row) {
        return contextMenu(view, centreOf(view, row));
    }
    OpenMenu menuOf(const char* name) {
        clickButton(name);
        return {};
    }
    /// The file dialog that is open.
    QFileDialog& fileDialog() {
        auto* dialog = window->findChild<QFileDialog*>();
        if (dialog == nullptr) {
            throw std::runtime_error("no file dialog is open");
        }
        return *dialog;
    }
    static void choose(QFileDialog& dialog, const QByteArray& path) {
        dialog.selectFile(QString::fromUtf8(path));
        static_cast<QDialog&>(dialog).accept();
    }

    /// The name of what has the keyboard.
    static std::string focused() {
        return QApplication::focusWidget()->accessibleName().toStdString();
    }
    /// What stands in the window in words.
    Texts texts() const {
        Texts texts;
        for (const QLabel* label : window->findChildren<QLabel*>()) {
            if (label->isVisible()) {
                texts.push_back(label->text().toStdString());
            }
        }
        return texts;
    }
    bool shows(const std::string& text) const {
        const Texts now = texts();
        return std::ranges::find(now, text) != now.end();
    }
    bool comesToShow(const char* text) const {
        return spinUntil([&] { return shows(text); });
    }
    static void letDeletionsHappen() {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    /// Shows tracks numbered 0, 1, ... as those of a folder below "/music".
    void showTracks(int count, const QByteArray& folder = "t") {
        std::vector<int> numbers(count);
        std::iota(numbers.begin(), numbers.end(), 0);
        state->selectedFolder = FolderItem(FileUrl("/music/" + folder), true);
        state->playbackQueue = numberedTracks(numbers, folder);
        QTest::qWait(1);
    }
    QList<Track> shown() const {
        return {state->playbackQueue->begin(), state->playbackQueue->end()};
    }
    void select(const QSet<QByteArray>& ids) { state->selectedTrackIDs = ids; }

    Playlist makePlaylist(const char* name, const QList<Track>& tracks = {}) {
        return state->playlistManager().createPlaylist(QString::fromUtf8(name), tracks);
    }
    Texts playlistNames() const {
        Texts names;
        for (const Playlist& playlist : *state->playlistManager().playlists) {
            names.push_back(playlist.name.toStdString());
        }
        return names;
    }
    /// The file names in a playlist.
    Texts filesIn(const QUuid& id) const {
        Texts files;
        for (const Playlist& playlist : *state->playlistManager().playlists) {
            if (playlist.id == id) {
                for (const FileUrl& url : playlist.trackURLs) {
                    files.push_back(url.lastPathComponent().toStdString());
                }
            }
        }
        return files;
    }

    QTemporaryDir home;
    DesktopPreferences preferences;
    std::unique_ptr<AppState> state;
    std::unique_ptr<MainWindow> window;
};

}  // namespace halvenor::test
