// Renders the window with an example library to PNG files, in every theme: to look at.
//
//   QT_QPA_PLATFORM=offscreen ui_showcase FOLDER        (QT_SCALE_FACTOR=2 for twice the pixels)
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QFileDialog>
#include <QMenu>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

#include "platform/appearance/DesktopPreferences.h"
#include "ui/ExampleLibrary.h"
#include "ui/mainwindow/MainWindow.h"
#include "ui/mainwindow/WindowPrompts.h"
#include "ui/settings/SettingsView.h"
#include "ui/sheets/ConfirmSheet.h"
#include "ui/sidebar/FolderTreeView.h"
#include "ui/sidebar/SidebarView.h"
#include "ui/tageditor/AlbumTagEditorView.h"
#include "ui/tageditor/TagEditorView.h"
#include "ui/theme/ThemeInstaller.h"
#include "ui/tracklist/TrackListPane.h"
#include "ui/tracklist/TrackListView.h"

namespace {

using namespace halvenor;

void save(QWidget& widget, const QString& file) {
    QTest::qWait(300);
    if (!widget.grab().save(file)) {
        std::fprintf(stderr, "can't write %s\n", qUtf8Printable(file));
    }
}

QWidget* findNamed(QWidget& window, const QString& name) {
    for (QWidget* child : window.findChildren<QWidget*>()) {
        if (child->accessibleName() == name) {
            return child;
        }
    }
    return nullptr;
}

void clickNamed(QWidget& window, const char* name) {
    if (QWidget* button = findNamed(window, QString::fromUtf8(name))) {
        QTest::mouseClick(button, Qt::LeftButton);
    }
}

void fillPlaylists(AppState& state) {
    const TrackList& tracks = *state.playbackQueue;
    for (const int row : {1, 4, 5}) {
        state.toggleFavorite(tracks[row]);
    }
    for (const char* name : {"Late Train Home", "Łukasz & Ana, live", "雨の日",
                             "Everything That Was Ever Recorded in a Lighthouse"}) {
        state.playlistManager().createPlaylist(QString::fromUtf8(name), {tracks[0], tracks[1]});
    }
}

// The playlists, with one of them on show, and the sheets that belong to them.
void showPlaylists(AppState& state, MainWindow& window, const QString& place) {
    const TrackList tracks = *state.playbackQueue;
    const auto folder = *state.selectedFolder;
    clickNamed(window, "Playlists");
    state.selectedFolder = std::nullopt;
    state.openPlaylist = state.playlistManager().playlists->at(1);
    save(window, place.arg(QStringLiteral("playlists")));
    clickNamed(window, "Add New Playlist");
    save(window, place.arg(QStringLiteral("new-playlist")));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    state.openPlaylist = std::nullopt;
    state.selectedFolder = folder;
    state.playbackQueue = tracks;
    clickNamed(window, "Folders");
}

// No disk holds the example: what looks for it has found that out.
void pretendToBeThere(AppState& state) {
    QTest::qWait(100);
    state.waveformPeaks = test::examplePeaks();
    QSet<QByteArray> roots;
    for (const FolderItem& root : *state.rootFolders) {
        roots.insert(root.id());
    }
    state.availableLocationPaths = roots;
}

void showSettings(AppState& state, MainWindow& window, const QString& place) {
    state.isSettingsPresented = true;
    for (const SettingsTab tab : allSettingsTabs) {
        window.settings()->selectTab(tab);
        save(window, place.arg(QStringLiteral("settings-") + rawValue(tab).toLower()));
    }
    state.isSettingsPresented = false;
}

void showCoverMode(AppState& state, MainWindow& window, const QString& place) {
    state.isCoverModePresented = true;
    QTest::qWait(50);
    window.setFixedSize(1440, 900);
    save(window, place.arg(QStringLiteral("cover-mode")));
    state.useLiquidTitanWaveform = true;
    save(window, place.arg(QStringLiteral("cover-mode-liquid")));
    state.isCoverModePresented = false;
    QTest::qWait(50);
    window.setFixedSize(1100, 700);
    save(window, place.arg(QStringLiteral("window-liquid")));
    state.useLiquidTitanWaveform = false;
}

void showConfirmation(MainWindow& window, const QString& file) {
    auto* sheet = new ConfirmSheet(
        &window,
        {QStringLiteral("Restore links to this folder?"),
         QStringLiteral("/media/old disk/Music/Glass Harbour\n→ /home/ana/Music/Glass Harbour\n\n"
                        "The remembered contents match. Favorites, playlists and folder marks "
                        "will use the selected folder."),
         QStringLiteral("Restore Links")},
        [](bool) {});
    save(window, file);
    delete sheet;
}

void closeSheet() {
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    QTest::qWait(1);
}

// The tag editors in their states.
void showEditors(AppState& state, MainWindow& window, const QString& place) {
    const TrackList tracks = *state.playbackQueue;
    const auto selection = *state.selectedTrackIDs;
    state.selectedTrackIDs = QSet<QByteArray>{tracks[5].id()};
    new TagEditorView(&window, state);
    save(window, place.arg(QStringLiteral("track-editor")));
    closeSheet();
    state.selectedTrackIDs = QSet<QByteArray>{tracks[4].id(), tracks[5].id(), tracks[8].id()};
    new TagEditorView(&window, state);
    save(window, place.arg(QStringLiteral("batch-editor")));
    closeSheet();
    new AlbumTagEditorView(&window, state, {tracks.begin(), tracks.end()});
    save(window, place.arg(QStringLiteral("album-editor")));
    closeSheet();
    TrackFields bare;
    bare.url = FileUrl("/music/x.wav");
    auto* empty = new AlbumTagEditorView(&window, state, {Track(bare)});
    QApplication::clipboard()->clear();
    clickNamed(*empty, "Paste");
    save(window, place.arg(QStringLiteral("album-editor-error")));
    QImage picture(300, 300, QImage::Format_RGB32);
    picture.fill(Qt::darkCyan);
    QApplication::clipboard()->setImage(picture);
    clickNamed(*empty, "Paste");
    window.setLayoutDirection(Qt::RightToLeft);
    save(window, place.arg(QStringLiteral("album-editor-mirrored")));
    closeSheet();
    state.selectedTrackIDs = QSet<QByteArray>{tracks[4].id()};
    new TagEditorView(&window, state);
    save(window, place.arg(QStringLiteral("track-editor-mirrored")));
    closeSheet();
    window.setLayoutDirection(Qt::LeftToRight);
    state.selectedTrackIDs = selection;
}

void showMenu(QListView& view, int row, const QString& file) {
    const QPoint place = view.visualRect(view.model()->index(row, 0)).center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, place, view.viewport()->mapToGlobal(place));
    QCoreApplication::sendEvent(view.viewport(), &event);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    if (menu == nullptr) {
        return;
    }
    save(*menu, file);
    menu->close();
}

}  // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
    const QTemporaryDir home;
    const FileUrl settings(home.path().toUtf8() + "/settings.json");
    const auto state = test::makeState(settings);
    installTheme(*state, application);
    DesktopPreferences preferences;
    MainWindow window(*state, preferences);
    window.show();
    save(window, folder + QStringLiteral("/empty.png"));
    test::fillWithExample(*state);
    fillPlaylists(*state);
    state->libraryFolders = std::vector<FileUrl>{
        FileUrl("/music/Music"), FileUrl("/music/Concerts"),
        FileUrl("/media/ana/A very long name of a disk that was given by somebody/Vinyl Rips")};
    for (const AppTheme theme : allThemes) {
        state->selectedTheme = theme;
        pretendToBeThere(*state);
        const QString name = rawValue(theme).toLower().replace(QLatin1Char(' '), QLatin1Char('-'));
        save(window, QStringLiteral("%1/window-%2.png").arg(folder, name));
        const QString place = QStringLiteral("%1/%3-%2.png").arg(folder, name);
        showPlaylists(*state, window, place);
        showEditors(*state, window, place);
        showConfirmation(window, place.arg(QStringLiteral("confirm")));
        showMenu(window.trackList().list(), 3, place.arg(QStringLiteral("track-menu")));
        showMenu(window.sidebar().tree(), 1, place.arg(QStringLiteral("folder-menu")));
        state->isPlaybackQueuePresented = true;
        save(window, QStringLiteral("%1/history-%2.png").arg(folder, name));
        state->isPlaybackQueuePresented = false;
        showSettings(*state, window, place);
        showCoverMode(*state, window, place);
        state->playbackErrorMessage =
            QStringLiteral("The file “Harbour Bells.flac” can't be read: it ends too soon.");
        save(window, QStringLiteral("%1/error-%2.png").arg(folder, name));
        state->playbackErrorMessage = std::nullopt;
        QTest::qWait(200);
        if (QWidget* button = findNamed(window, QStringLiteral("Album Menu"))) {
            QTest::mouseClick(button, Qt::LeftButton);
            if (QWidget* menu = QApplication::activePopupWidget()) {
                QTest::keyClick(menu, Qt::Key_Down);
                save(*menu, QStringLiteral("%1/menu-%2.png").arg(folder, name));
                menu->close();
            }
        }
    }
    state->selectedTheme = AppTheme::halvenorDark;
    WindowPrompts prompts(*state, window);
    prompts.chooseFolder(
        QStringLiteral("Choose the new location of “Tidal Rooms”. Favorites, playlists and folder "
                       "marks will be restored after checking its contents."),
        [](const auto&) {});
    if (auto* dialog = window.findChild<QFileDialog*>()) {
        save(*dialog, folder + QStringLiteral("/choose-folder.png"));
        dialog->close();
        QApplication::setActiveWindow(&window);
    }
    if (QWidget* search = findNamed(window, QStringLiteral("Search"))) {
        QTest::mouseClick(search, Qt::LeftButton);
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("har"));
    }
    state->playbackQueue = TrackList();
    state->selectedFolder = state->rootFolders->front();
    window.setFixedSize(920, 620);
    save(window, folder + QStringLiteral("/search-least-size.png"));
    return 0;
}
