// The album editor in the whole program, its real window on a real X server and its sound through a
// real sound server:
//
// - opening it on 500 tracks, from the wish to the painted sheet;
// - saving 100 tracks while music plays: how long the main thread was kept from its events.
#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "platform/appearance/DesktopPreferences.h"
#include "platform/audio/Outputs.h"
#include "state/AppState.h"
#include "support/EventLoop.h"
#include "support/Measure.h"
#include "support/MusicFolder.h"
#include "support/PlayedMusic.h"
#include "support/Report.h"
#include "support/SoundServer.h"
#include "support/XServer.h"
#include "ui/mainwindow/MainWindow.h"
#include "ui/tageditor/AlbumTagEditorView.h"
#include "ui/theme/ThemeInstaller.h"

namespace {

using namespace halvenor;
using namespace std::chrono_literals;

constexpr int shownTracks = 500;
constexpr int savedTracks = 100;
constexpr int openings = 15;
constexpr int saves = 5;
constexpr auto longWait = 120s;

// Whether anything of the sheet has been painted.
class PaintWatch : public QObject {
  public:
    explicit PaintWatch(QWidget& widget) { widget.installEventFilter(this); }
    bool hasPainted = false;

  protected:
    bool eventFilter(QObject*, QEvent* event) override {
        hasPainted = hasPainted || event->type() == QEvent::Paint;
        return false;
    }
};

QList<Track> firstOf(const AppState& state, int count) {
    return QList<Track>(state.playbackQueue->begin(), state.playbackQueue->end()).first(count);
}

void press(MainWindow& window, int key) {
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
    QCoreApplication::sendEvent(window.focusWidget(), &event);
}

void show(AppState& state, const FileUrl& url, int count) {
    state.openDirectory(url);
    state.openFolder(FolderItem(url, true));
    test::spinUntil(
        [&] { return state.playbackQueue->size() == count && !*state.metadataLoadingFolderID; },
        longWait);
}

void measureOpening(AppState& state, MainWindow& window) {
    const QList<Track> tracks = firstOf(state, shownTracks);
    std::vector<double> times;
    for (int i = 0; i < openings; ++i) {
        times.push_back(bench::seconds([&] {
            PaintWatch watch(*new AlbumTagEditorView(&window, state, tracks));
            test::spinUntil([&] { return watch.hasPainted; });
        }));
        press(window, Qt::Key_Escape);
        test::spinFor(50ms);
    }
    std::printf(
        "opening the album editor on %d tracks: painted after %.1f ms, the first time %.1f, at the "
        "most %.1f (bound 100)\n",
        shownTracks, bench::median(times) * 1000, times.front() * 1000,
        *std::ranges::max_element(times) * 1000);
    bench::report({.work = "opening the album editor on 500 tracks",
                   .unit = "ms",
                   .ours = bench::median(times) * 1000,
                   .bound = 100});
}

void measureSaving(AppState& state, MainWindow& window) {
    const QTemporaryDir directory;
    const FileUrl music = bench::writeMusic(FileUrl(QFile::encodeName(directory.path())), 240);
    TrackFields fields;
    fields.url = music;
    state.play(Track(fields));
    test::spinUntil([&] { return *state.audioEngine().currentTime > 1; });
    double longest = 0;
    std::vector<double> times;
    for (int i = 0; i < saves; ++i) {
        const QPointer<QWidget> sheet =
            new AlbumTagEditorView(&window, state, firstOf(state, savedTracks));
        test::spinFor(300ms);
        static_cast<QLineEdit*>(window.focusWidget())->setText(QStringLiteral("Album %1").arg(i));
        const test::EventLoopTicker ticker;
        times.push_back(bench::seconds([&] {
            press(window, Qt::Key_Return);
            test::spinUntil([&] { return sheet == nullptr; }, longWait);
        }));
        test::spinFor(200ms);  // what the save leads to in the window
        longest = std::max(longest, ticker.longestStall());
    }
    const bool isPlaying = *state.audioEngine().isPlaying;
    std::printf(
        "saving %d tracks with the music %s: %.0f ms; longest stall of the event loop in %d saves "
        "%.1f ms (bound 16)\n",
        savedTracks, isPlaying ? "playing" : "NOT PLAYING", bench::median(times) * 1000, saves,
        longest);
    bench::report({.work = "stall: saving 100 tracks while music plays",
                   .unit = "ms",
                   .ours = longest,
                   .bound = 16});
}

}  // namespace

int main(int argc, char** argv) {
    const bench::XServer display;
    test::SoundServer sound({44100, 2});
    QApplication application(argc, argv);
    const QTemporaryDir home;
    const FileUrl place(QFile::encodeName(home.path()));
    AppState state(AppState::Dependencies(
        makeSystemOutput(QStringLiteral("Halvenor")), place.appendingPathComponent("settings.json"),
        place.appendingPathComponent("data"), [] { return SystemAppearance::dark; }));
    installTheme(state, application);
    DesktopPreferences preferences;
    MainWindow window(state, preferences);
    window.show();
    window.activateWindow();
    const bench::MusicFolder music(shownTracks);
    show(state, music.url(), shownTracks);
    measureOpening(state, window);
    measureSaving(state, window);
    return 0;
}
