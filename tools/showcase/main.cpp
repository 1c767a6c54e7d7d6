// Renders the window with an example library to PNG files, in every theme: to look at.
//
//   QT_QPA_PLATFORM=offscreen halvenor-showcase FOLDER        (QT_SCALE_FACTOR=2 for twice the
//   pixels)
#include <QClipboard>

#include <cstdio>

#include "ui/WindowFixture.h"
#include "ui/mainwindow/WindowPrompts.h"
#include "ui/settings/SettingsView.h"
#include "ui/sheets/ConfirmSheet.h"
#include "ui/tageditor/AlbumTagEditorView.h"
#include "ui/tageditor/TagEditorView.h"

namespace halvenor::test {
namespace {

/// The window as tests have it, in the hands of a photographer.
class Showcase : public WindowFixture {
  public:
    explicit Showcase(const QString& folder) : folder_(folder) {}
    void TestBody() override;

  private:
    void save(QWidget& widget, const char* name) const {
        const QString file =
            QStringLiteral("%1/%2%3.png").arg(folder_, QString::fromUtf8(name), theme_);
        QTest::qWait(300);
        if (!widget.grab().save(file)) {
            std::fprintf(stderr, "can't write %s\n", qUtf8Printable(file));
        }
    }
    void save(const char* name) const { save(*window, name); }
    void saveAndClose(const char* name) const {
        save(name);
        key(Qt::Key_Escape);
        QTest::qWait(1);
    }
    // No disk holds the example: what looks for it has found that out.
    void pretendToBeThere() {
        QTest::qWait(100);
        state->waveformPeaks = examplePeaks();
        QSet<QByteArray> roots;
        for (const FolderItem& root : *state->rootFolders) {
            roots.insert(root.id());
        }
        state->availableLocationPaths = roots;
    }
    void fillPlaylists();
    void showPlaylists();
    void showSettings();
    void showCoverMode();
    void showPrompts();
    void showEditors();
    void showMenus();

    QString folder_;
    QString theme_;  ///< as a part of file names
};

void Showcase::fillPlaylists() {
    for (const int row : {1, 4, 5}) {
        state->toggleFavorite(shown()[row]);
    }
    for (const char* name : {"Late Train Home", "Łukasz & Ana, live", "雨の日",
                             "Everything That Was Ever Recorded in a Lighthouse"}) {
        makePlaylist(name, {shown()[0], shown()[1]});
    }
}

// The playlists, with one of them on show, and the sheets that belong to them.
void Showcase::showPlaylists() {
    const TrackList tracks = *state->playbackQueue;
    const auto folder = *state->selectedFolder;
    clickButton("Playlists");
    state->selectedFolder = std::nullopt;
    state->openPlaylist = state->playlistManager().playlists->at(1);
    save("playlists");
    clickButton("Add New Playlist");
    saveAndClose("new-playlist");
    state->openPlaylist = std::nullopt;
    state->selectedFolder = folder;
    state->playbackQueue = tracks;
    clickButton("Folders");
}

void Showcase::showSettings() {
    state->isSettingsPresented = true;
    for (const SettingsTab tab : allSettingsTabs) {
        window->settings()->selectTab(tab);
        save(qPrintable(QStringLiteral("settings-") + rawValue(tab).toLower()));
    }
    state->isSettingsPresented = false;
}

void Showcase::showCoverMode() {
    state->isCoverModePresented = true;
    QTest::qWait(50);
    window->setFixedSize(1440, 900);
    save("cover-mode");
    state->useLiquidTitanWaveform = true;
    save("cover-mode-liquid");
    state->isCoverModePresented = false;
    QTest::qWait(50);
    window->setFixedSize(1100, 700);
    save("window-liquid");
    state->useLiquidTitanWaveform = false;
}

void Showcase::showPrompts() {
    new ConfirmSheet(
        window.get(),
        {QStringLiteral("Restore links to this folder?"),
         QStringLiteral("/media/old disk/Music/Glass Harbour\n→ /home/ana/Music/Glass Harbour\n\n"
                        "The remembered contents match. Favorites, playlists and folder marks "
                        "will use the selected folder."),
         QStringLiteral("Restore Links")},
        [](bool) {});
    saveAndClose("confirm");
    state->playbackErrorMessage =
        QStringLiteral("The file “Harbour Bells.flac” can't be read: it ends too soon.");
    save("error");
    state->playbackErrorMessage = std::nullopt;
    QTest::qWait(200);
}

// The tag editors in their states.
void Showcase::showEditors() {
    const auto selection = *state->selectedTrackIDs;
    select({shown()[5].id()});
    new TagEditorView(window.get(), *state);
    saveAndClose("track-editor");
    select({shown()[4].id(), shown()[5].id(), shown()[8].id()});
    new TagEditorView(window.get(), *state);
    saveAndClose("batch-editor");
    new AlbumTagEditorView(window.get(), *state, shown());
    saveAndClose("album-editor");
    new AlbumTagEditorView(window.get(), *state, {exampleTrack("/music/x.wav", {}, {})});
    QApplication::clipboard()->clear();
    clickButton("Paste");
    save("album-editor-error");
    QImage picture(300, 300, QImage::Format_RGB32);
    picture.fill(Qt::darkCyan);
    QApplication::clipboard()->setImage(picture);
    clickButton("Paste");
    window->setLayoutDirection(Qt::RightToLeft);
    saveAndClose("album-editor-mirrored");
    select({shown()[4].id()});
    new TagEditorView(window.get(), *state);
    saveAndClose("track-editor-mirrored");
    window->setLayoutDirection(Qt::LeftToRight);
    select(selection);
}

void Showcase::showMenus() {
    save(contextMenu(list(), 3).widget(), "track-menu");
    save(contextMenu(tree(), 1).widget(), "folder-menu");
    const OpenMenu album = menuOf("Album Menu");
    QTest::keyClick(&album.widget(), Qt::Key_Down);
    save(album.widget(), "menu");
}

void Showcase::TestBody() {
    save("empty");
    fillWithExample(*state);
    fillPlaylists();
    state->libraryFolders = std::vector<FileUrl>{
        FileUrl("/music/Music"), FileUrl("/music/Concerts"),
        FileUrl("/media/ana/A very long name of a disk that was given by somebody/Vinyl Rips")};
    for (const AppTheme theme : allThemes) {
        state->selectedTheme = theme;
        theme_ = QLatin1Char('-') +
                 rawValue(theme).toLower().replace(QLatin1Char(' '), QLatin1Char('-'));
        pretendToBeThere();
        save("window");
        showPlaylists();
        showEditors();
        state->isPlaybackQueuePresented = true;
        save("history");
        state->isPlaybackQueuePresented = false;
        showSettings();
        showCoverMode();
        showPrompts();
        showMenus();
    }
    state->selectedTheme = AppTheme::halvenorDark;
    theme_.clear();
    WindowPrompts prompts(*state, *window);
    prompts.chooseFolder(
        QStringLiteral("Choose the new location of “Tidal Rooms”. Favorites, playlists and folder "
                       "marks will be restored after checking its contents."),
        [](const auto&) {});
    save(fileDialog(), "choose-folder");
    fileDialog().close();
    QApplication::setActiveWindow(window.get());
    clickButton("Search");
    type("har");
    state->playbackQueue = TrackList();
    state->selectedFolder = state->rootFolders->front();
    window->setFixedSize(920, 620);
    save("search-least-size");
}

}  // namespace
}  // namespace halvenor::test

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    halvenor::test::Showcase(QString::fromLocal8Bit(argc > 1 ? argv[1] : ".")).TestBody();
    return 0;
}
