// What the real window costs to look at, on a real X server and the software renderer:
//
// - scrolling a list of 10,000 tracks and a tree of 10,000 folders: time per painted frame;
// - the animated waveform at thirty redraws a second in the player bar: its share of a core, and
//   that of the same window with music paused;
// - opening Cover Mode, a sheet and a context menu: time to the first whole picture.
#include <QApplication>
#include <QContextMenuEvent>
#include <QListView>
#include <QMenu>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <sys/resource.h>
#include <vector>

#include "platform/appearance/DesktopPreferences.h"
#include "state/AppState.h"
#include "support/Measure.h"
#include "support/XServer.h"
#include "ui/ExampleLibrary.h"
#include "ui/mainwindow/MainWindow.h"
#include "ui/playerbar/PlayerBarView.h"
#include "ui/playerbar/TimelineView.h"
#include "ui/sidebar/FolderTreeView.h"
#include "ui/sidebar/SidebarView.h"
#include "ui/theme/ThemeInstaller.h"
#include "ui/tracklist/TrackListPane.h"
#include "ui/tracklist/TrackListView.h"
#include "ui/waveform/WaveformView.h"

namespace {

using namespace halvenor;
using halvenor::bench::median;
using halvenor::bench::seconds;
using namespace std::chrono_literals;

constexpr int rowCount = 10'000;
constexpr int frameCount = 600;
constexpr double frameBound = 1000.0 / 60;  // milliseconds
constexpr double openingBound = 100;        // milliseconds

void runEventsFor(std::chrono::milliseconds duration) {
    QEventLoop loop;
    QTimer::singleShot(duration, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

double processorSeconds() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    const auto inSeconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return inSeconds(usage.ru_utime) + inSeconds(usage.ru_stime);
}

void fillList(AppState& state) {
    TrackList tracks;
    const Artwork cover = test::exampleCover(120);
    for (int i = 0; i < rowCount; ++i) {
        Track track = test::exampleTrack("/music/many/" + QByteArray::number(i) + ".flac",
                                         QStringLiteral("A title that has a length %1").arg(i),
                                         QStringLiteral("Some Artist"), 100 + i % 300);
        track.setArtworkData(cover);
        tracks.append(track);
    }
    state.selectedFolder = FolderItem(FileUrl("/music/many"), true);
    state.playbackQueue = tracks;
}

void fillTree(AppState& state) {
    QList<QByteArray> names;
    for (int i = 0; i < rowCount; ++i) {
        names.append("Folder with a name " + QByteArray::number(i));
    }
    const FolderList roots = test::addRoots(state, {"Everything"});
    test::addFolders(state, roots.front(), names);
    state.expandedFolderIDs = QSet<QByteArray>{roots.front().id()};
}

// As a wheel or a held key does it: three quarters of a row further each frame, and now and then a
// jump to where nothing was painted yet.
void measureScrolling(QListView& view, const char* what) {
    std::vector<double> frames;
    QScrollBar* bar = view.verticalScrollBar();
    for (int i = 0; i < frameCount; ++i) {
        const int place = i % 50 == 0 ? bar->maximum() / frameCount * i : bar->value() + 33;
        frames.push_back(1000 * seconds([&] {
                             bar->setValue(place);
                             view.viewport()->repaint();
                             QCoreApplication::processEvents();
                         }));
    }
    std::ranges::sort(frames);
    std::printf(
        "scrolling %s: %.2f ms a frame, 99th of 100 %.2f ms, longest %.2f ms (bound %.1f)\n", what,
        median(frames), frames[frames.size() * 99 / 100], frames.back(), frameBound);
}

double shareOfACore(std::chrono::milliseconds duration) {
    const double before = processorSeconds();
    runEventsFor(duration);
    return (processorSeconds() - before) / std::chrono::duration<double>(duration).count();
}

void measureWaveform(AppState& state, MainWindow& window) {
    AudioEngineManager& engine = state.audioEngine();
    const WaveformView& view = window.playerBar().timeline().waveform();
    state.useLiquidTitanWaveform = true;
    state.waveformPeaks = test::examplePeaks();
    for (const bool isPlaying : {true, false}) {
        engine.isPlaying = isPlaying;
        runEventsFor(500ms);
        if (view.isAnimating() != isPlaying) {
            std::printf("the waveform's animation does not follow the player\n");
        }
        std::printf("the animated waveform, %d by %d, %s: %.2f %% of a core (bound %s)\n",
                    view.width(), view.height(), isPlaying ? "playing" : "paused",
                    100 * shareOfACore(5s), isPlaying ? "5" : "none");
    }
    state.useLiquidTitanWaveform = false;
}

void measureOpening(const char* what, const std::function<QWidget*()>& open,
                    const std::function<void()>& close) {
    std::vector<double> times;
    for (int round = 0; round < 7; ++round) {
        times.push_back(1000 * seconds([&] {
                            QWidget* shown = open();
                            shown->repaint();
                            QCoreApplication::processEvents();
                        }));
        close();
        runEventsFor(200ms);
    }
    std::printf("opening %s: %.1f ms the first time, %.1f ms after (bound %.0f)\n", what, times[0],
                median({times.begin() + 1, times.end()}), openingBound);
}

void measureOpenings(AppState& state, MainWindow& window) {
    measureOpening(
        "Cover Mode",
        [&] {
            state.isCoverModePresented = true;
            return &window;
        },
        [&] { state.isCoverModePresented = false; });
    measureOpening(
        "the settings",
        [&] {
            state.isSettingsPresented = true;
            return &window;
        },
        [&] { state.isSettingsPresented = false; });
    QListView& list = window.trackList().list();
    measureOpening(
        "a track's menu",
        [&]() -> QWidget* {
            const QPoint place = list.visualRect(list.model()->index(2, 0)).center();
            QContextMenuEvent event(QContextMenuEvent::Mouse, place,
                                    list.viewport()->mapToGlobal(place));
            QCoreApplication::sendEvent(list.viewport(), &event);
            return QApplication::activePopupWidget();
        },
        [] { QApplication::activePopupWidget()->close(); });
}

}  // namespace

int main(int argc, char** argv) {
    const bench::XServer display;
    QApplication application(argc, argv);
    const QTemporaryDir home;
    const auto state = test::makeState(FileUrl(home.path().toUtf8() + "/settings.json"));
    installTheme(*state, application);
    DesktopPreferences preferences;
    MainWindow window(*state, preferences);
    window.show();
    window.activateWindow();
    test::fillWithExample(*state);
    fillTree(*state);
    fillList(*state);
    runEventsFor(1s);
    measureScrolling(window.trackList().list(), "a list of 10,000 tracks");
    measureScrolling(window.sidebar().tree(), "a tree of 10,000 folders");
    measureWaveform(*state, window);
    measureOpenings(*state, window);
    return 0;
}
