// How long the main thread is held by what the library remembers: 10,000 files of one playlist in
// 1,000 folders. Each figure is the longest time between two turns of the event loop; a picture of
// a screen with 60 of them a second stands for 16.7 ms.
#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/audio/Outputs.h"
#include "state/AppState.h"
#include "support/Report.h"

namespace {

using namespace halvenor;
using Clock = std::chrono::steady_clock;

constexpr int folderCount = 1000;
constexpr int filesInFolder = 10;
constexpr double frame = 16.0;  // ms

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "%s\n", what);
        std::exit(1);
    }
}

QList<Track> makeFiles(const FileUrl& music) {
    require(::mkdir(music.path().constData(), 0700) == 0, "no folder");
    const QByteArray artist = music.path() + "/artist";
    require(::mkdir(artist.constData(), 0700) == 0, "no folder");
    QList<Track> tracks;
    for (int i = 0; i < folderCount; ++i) {
        const QByteArray folder = artist + "/album " + QByteArray::number(i);
        require(::mkdir(folder.constData(), 0700) == 0, "no folder");
        for (int j = 0; j < filesInFolder; ++j) {
            TrackFields fields;
            fields.url = FileUrl(folder + "/" + QByteArray::number(j) + " some track.flac");
            const int file =
                ::open(fields.url.path().constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
            require(file >= 0 && ::close(file) == 0, "no file");
            tracks.append(Track(fields));
        }
    }
    return tracks;
}

/// Runs `work` and then the event loop until `isDone`; the longest time that the loop stood still.
double longestStall(const std::function<void()>& work, const std::function<bool()>& isDone) {
    const Clock::time_point start = Clock::now();
    work();
    double longest = millisecondsSince(start);
    while (!isDone()) {
        const Clock::time_point turn = Clock::now();
        QCoreApplication::processEvents();
        longest = std::max(longest, millisecondsSince(turn));
        require(millisecondsSince(start) < 60'000, "it did not end");
    }
    return longest;
}

void print(const char* what, double milliseconds) {
    std::printf("library   %-52s %6.1f ms   bound %4.1f ms%s\n", what, milliseconds, frame,
                milliseconds > frame ? "  MISSED" : "");
    bench::report({.work = std::string("stall: ") + what,
                   .unit = "ms",
                   .ours = milliseconds,
                   .bound = frame});
}

AppState::Dependencies dependencies(const FileUrl& home) {
    return AppState::Dependencies(makeSilentOutput(), home.appendingPathComponent("settings.json"),
                                  home.appendingPathComponent("data"),
                                  [] { return SystemAppearance::dark; });
}

double stallOfCheck(AppState& state, const std::function<void()>& before) {
    const int checks = *state.finishedRelocationChecks;
    return longestStall(
        [&] {
            before();
            state.checkRelocations();
        },
        [&] { return *state.finishedRelocationChecks > checks; });
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QTemporaryDir directory;
    const FileUrl home(directory.path().toUtf8());
    const FileUrl music = home.appendingPathComponent("music");
    const QList<Track> tracks = makeFiles(music);
    const auto rename = [&](const char* from, const char* to) {
        require(::rename((music.path() + from).constData(), (music.path() + to).constData()) == 0,
                "no rename");
    };
    {
        AppState state(dependencies(home));
        state.openDirectory(music);
        print("a playlist of 10,000 is made, saved and remembered", stallOfCheck(state, [&] {
                  state.playlistManager().createPlaylist(QStringLiteral("All"), tracks);
              }));
        print("they are remembered",
              longestStall(
                  [] {}, [&] { return state.relocationStore().records().size() > tracks.size(); }));
        stallOfCheck(state, [] {});
        const Clock::time_point start = Clock::now();
        double unchanged = 0;
        for (int i = 0; i < 10; ++i) {
            unchanged = std::max(unchanged, stallOfCheck(state, [] {}));
        }
        print("ten checks of 10,000 files that stayed", unchanged);
        std::printf("library   one such check takes %.1f ms\n", millisecondsSince(start) / 10);
        print("a favourite is added and saved",
              stallOfCheck(state, [&] { state.toggleFavorite(tracks.first()); }));
        stallOfCheck(state, [] {});
        print("their folder is renamed, and all are followed",
              longestStall(
                  [&] {
                      rename("/artist", "/renamed");
                      state.checkRelocations();
                  },
                  [&] {
                      const Playlist& all = state.playlistManager().playlists->first();
                      return all.trackURLs.first().path().startsWith(music.path() + "/renamed/");
                  }));
    }
    std::unique_ptr<AppState> state;
    print("the start with all that is remembered",
          longestStall([&] { state = std::make_unique<AppState>(dependencies(home)); },
                       [&] { return *state->finishedRelocationChecks > 0; }));
    return 0;
}
