// The whole program, its real window on a real X server and its sound through a real sound server,
// beside what the work costs at the least:
//
// - filling the tags of a folder of 5,000 files with covers, from the listing to the last
//   publication, repainting included, beside TagLib's plain loop on one thread;
// - playing FLAC with the window shown, and with it hidden, beside decoding the same minutes once.
#include <QApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include "enrichment/BareReading.h"
#include "platform/appearance/DesktopPreferences.h"
#include "platform/audio/Outputs.h"
#include "state/AppState.h"
#include "support/Measure.h"
#include "support/MusicFolder.h"
#include "support/PlayedMusic.h"
#include "support/Report.h"
#include "support/SoundServer.h"
#include "support/XServer.h"
#include "ui/mainwindow/MainWindow.h"
#include "ui/theme/ThemeInstaller.h"

namespace {

using namespace halvenor;
using halvenor::bench::median;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int fileCount = 5000;
constexpr int enrichmentRounds = 5;
constexpr int musicSeconds = 240;
constexpr auto playingTime = 20s;

double since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void runEventsFor(std::chrono::milliseconds duration) {
    QEventLoop loop;
    QTimer::singleShot(duration, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

// From the first publication of skeletons to the end of the last tag. The longest time that the
// main thread was kept from its events is taken beside it.
struct Filling {
    double seconds = 0;
    double longestStall = 0;
};

Filling fillFolder(AppState& state, const FolderItem& folder) {
    QEventLoop loop;
    Filling filling;
    Clock::time_point begin;
    const Subscription reading = state.metadataLoadingFolderID.subscribe([&](const auto& id) {
        if (id) {
            begin = Clock::now();
        } else if (begin != Clock::time_point()) {
            filling.seconds = since(begin);
            loop.quit();
        }
    });
    Clock::time_point lastTurn = Clock::now();
    QTimer turns;
    QObject::connect(&turns, &QTimer::timeout, [&] {
        filling.longestStall = std::max(filling.longestStall, since(lastTurn));
        lastTurn = Clock::now();
    });
    turns.start(0);
    state.refreshFolder(folder);
    loop.exec();
    return filling;
}

void measureEnrichment(AppState& state, const bench::MusicFolder& music) {
    const FolderItem folder(music.url(), true);
    const int64_t before = bench::residentBytes();
    state.openDirectory(music.url());
    fillFolder(state, folder);
    const int64_t growth = bench::residentBytes() - before;
    std::vector<double> ours, bare, ratios;
    double stall = 0;
    for (int round = 0; round < enrichmentRounds; ++round) {
        const auto start = Clock::now();
        bench::readBare(music.files());
        bare.push_back(since(start));
        const Filling filling = fillFolder(state, folder);
        ours.push_back(filling.seconds);
        stall = std::max(stall, filling.longestStall);
        ratios.push_back(ours.back() / bare.back());
    }
    std::printf(
        "filling in %d files with covers: %.0f ms, TagLib alone on one thread %.0f ms, "
        "ratio %.2f (bound 1.3)\n",
        fileCount, median(ours) * 1000, median(bare) * 1000, median(ratios));
    bench::report({.work = "filling 5,000 tracks in the window",
                   .unit = "ms",
                   .ours = median(ours) * 1000,
                   .baseline = median(bare) * 1000,
                   .ratio = median(ratios),
                   .bound = 1.3});
    std::printf(
        "filling in: longest stall of the event loop %.1f ms; memory grew by %.1f MB, to "
        "%.1f MB resident (bound 120)\n",
        stall * 1000, static_cast<double>(growth) / 1e6,
        static_cast<double>(bench::residentBytes()) / 1e6);
    bench::report({.work = "memory growth by 5,000 tracks with covers",
                   .unit = "MB",
                   .ours = static_cast<double>(growth) / 1e6});
    bench::report({.work = "memory with 5,000 tracks with covers",
                   .unit = "MB",
                   .ours = static_cast<double>(bench::residentBytes()) / 1e6,
                   .bound = 120});
    state.removeFolder(music.url());
}

void measurePlaying(AppState& state, MainWindow& window) {
    const QTemporaryDir directory;
    const FileUrl folder(QFile::encodeName(directory.path()));
    const double decoding = bench::secondsToDecode(bench::writeMusic(folder, musicSeconds));
    // What the same minutes cost: a second of playing beside a second of decoding.
    const double decodingPerSecond = decoding / musicSeconds;
    state.openDirectory(folder);
    runEventsFor(500ms);
    for (const bool isShown : {true, false}) {
        state.play(state.playbackQueue->first());
        window.setVisible(isShown);
        runEventsFor(3s);  // the beginning decodes further ahead than the rest
        while (state.waveformPeaks->isEmpty()) {
            runEventsFor(100ms);  // The waveform is made once for a file, and measured elsewhere.
        }
        const double before = bench::usedSoFar().seconds;
        runEventsFor(playingTime);
        const double perSecond = (bench::usedSoFar().seconds - before) /
                                 std::chrono::duration<double>(playingTime).count();
        std::printf(
            "playing FLAC 44.1/16 with the window %s: %.2f ms of processor a second, "
            "decoding %.2f, ratio %.2f (bound %d)\n",
            isShown ? "shown" : "hidden", perSecond * 1000, decodingPerSecond * 1000,
            perSecond / decodingPerSecond, isShown ? 5 : 4);
        bench::report(
            {.work = std::string("playing FLAC, window ") + (isShown ? "shown" : "hidden"),
             .unit = "ms/s",
             .ours = perSecond * 1000,
             .baseline = decodingPerSecond * 1000,
             .bound = isShown ? 5 : 4});
    }
}

}  // namespace

int main(int argc, char** argv) {
    const bench::XServer display;
    test::SoundServer sound({44100, 2});
    QApplication application(argc, argv);
    const QTemporaryDir home;
    AppState state(AppState::Dependencies(
        makeSystemOutput(QStringLiteral("Halvenor")),
        FileUrl(QFile::encodeName(home.path())).appendingPathComponent("settings.json"),
        FileUrl(QFile::encodeName(home.path())).appendingPathComponent("data"),
        [] { return SystemAppearance::dark; }));
    installTheme(state, application);
    DesktopPreferences preferences;
    MainWindow window(state, preferences);
    window.show();
    runEventsFor(500ms);
    // Stays to the end: a folder that is gone is looked for on the whole disk.
    const bench::MusicFolder music(fileCount);
    measureEnrichment(state, music);
    measurePlaying(state, window);
    return 0;
}
