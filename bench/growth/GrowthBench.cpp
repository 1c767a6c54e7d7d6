// How the costs of what users wait for grow with their libraries: the same work with 10, 1,000 and
// 100,000 tracks or folders. A hundred times as much may cost a hundred times as much. Four times
// that is allowed, for sorting, and because 1,000 records fit into the processor's caches and
// 100,000 don't; anything that grew with the square would cost a hundred times that. What takes
// less than a tenth of a second for all 100,000 has no bound: nobody sees how it grew.
//
// The best of several rounds counts, as nothing but other work on the machine makes one slower.
#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <optional>
#include <string>

#include "GrownFolders.h"
#include "model/scanner/DirectoryListing.h"
#include "model/scanner/FolderSearch.h"
#include "model/scanner/FolderWalk.h"
#include "platform/audio/Outputs.h"
#include "playlists/PlaylistManager.h"
#include "relocation/MoveDetection.h"
#include "relocation/RelocationStore.h"
#include "state/AppState.h"
#include "support/Measure.h"
#include "support/Report.h"

namespace {

using namespace halvenor;

constexpr std::array sizes = {10, 1000, 100'000};
constexpr std::array roundsOfSizes = {50, 9, 2};
constexpr double allowedShare = 4;
constexpr double leastSeconds = 0.1;

void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        std::exit(1);
    }
}

/// Seconds for the work at one size.
using Cost = std::function<double(int size, int rounds)>;

double best(int rounds, const std::function<void()>& work) {
    double least = std::numeric_limits<double>::max();
    for (int round = 0; round < rounds; ++round) {
        least = std::min(least, bench::seconds(work));
    }
    return least;
}

bool tabulate(const std::string& work, const Cost& cost) {
    std::array<double, sizes.size()> costs;
    for (size_t i = 0; i < sizes.size(); ++i) {
        costs[i] = cost(sizes[i], roundsOfSizes[i]);
    }
    std::printf("%-40s %9.3f ms %9.2f ms %9.1f ms    x %-6.1f x %.1f\n", work.c_str(),
                costs[0] * 1e3, costs[1] * 1e3, costs[2] * 1e3, costs[1] / costs[0],
                costs[2] / costs[1]);
    std::fflush(stdout);
    return bench::report(
        {.work = "growth of 1,000 to 100,000: " + work,
         .unit = "times",
         .ours = costs[2] / costs[1],
         .baseline = double{sizes[2]} / sizes[1],
         .bound = costs.back() < leastSeconds ? std::optional<double>() : allowedShare});
}

void runUntil(const std::function<bool()>& condition) {
    while (!condition()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

/// The program without its window, and a folder that it shows.
class ShownFolder {
  public:
    explicit ShownFolder(int size) : tracks(size) {
        state.openDirectory(tracks.url());
        state.openFolder(FolderItem(tracks.url(), true));
        runUntil([&] { return isFilled(); });
    }
    bool isFilled() const {
        return state.playbackQueue->size() == tracks.files().size() &&
               !*state.metadataLoadingFolderID && state.playbackQueue->at(0).duration() > 0;
    }

    bench::GrownTrackFolder tracks;
    QTemporaryDir home;
    AppState state{AppState::Dependencies(
        makeSilentOutput(), FileUrl(home.path().toUtf8()).appendingPathComponent("settings.json"),
        FileUrl(home.path().toUtf8()).appendingPathComponent("data"),
        [] { return SystemAppearance::dark; })};
};

double listing(int size, int rounds) {
    const bench::GrownTrackFolder folder(size);
    return best(rounds, [&] {
        require(listDirectory(folder.url()).tracks.size() == size, "tracks are missing");
    });
}

// The listing, the tags and the publications, as after a click on the folder.
double filling(int size, int rounds) {
    ShownFolder shown(size);
    return best(rounds, [&] {
        bool hasBegun = false;
        const Subscription reading = shown.state.metadataLoadingFolderID.subscribe(
            [&](const auto& folder) { hasBegun = hasBegun || folder.has_value(); });
        shown.state.refreshFolder(FolderItem(shown.tracks.url(), true));
        runUntil([&] { return hasBegun && shown.isFilled(); });
    });
}

// Every track once, eight at a time, into the list on show, the folder's and the one that plays.
double publishing(int size, int rounds) {
    ShownFolder shown(size);
    shown.state.playingQueue = *shown.state.playbackQueue;
    const TrackList tracks = *shown.state.playbackQueue;
    return best(rounds, [&] {
        for (qsizetype row = 0; row < tracks.size(); row += 8) {
            QList<Track> batch;
            for (qsizetype i = row; i < std::min(row + 8, tracks.size()); ++i) {
                batch.append(tracks[i]);
            }
            shown.state.applyMetadataUpdates(batch);
        }
    });
}

double playlistSaving(int size, int rounds) {
    const QTemporaryDir home;
    QList<Track> tracks;
    for (int i = 0; i <= size + rounds; ++i) {
        TrackFields fields;
        fields.url = FileUrl("/home/someone/Music/artist/album/" + QByteArray::number(i) + ".flac");
        tracks.append(Track(fields));
    }
    PlaylistManager manager(FileUrl(home.path().toUtf8() + "/playlists.json"));
    const QUuid id = manager.createPlaylist(QStringLiteral("All"), tracks.first(size)).id;
    require(manager.flush(), "cannot save");
    int next = size;
    return best(rounds, [&] {
        manager.addTrack(tracks[next++], id);
        require(manager.flush(), "cannot save");
    });
}

// `size` files, in a tenth as many folders, none of which has moved.
double relocationCheck(int size, int rounds) {
    const bench::GrownTree tree(std::max(1, size / 10));
    const QSet<QByteArray> files = tree.fill();
    const QTemporaryDir home;
    RelocationStore store(FileUrl(home.path().toUtf8() + "/relocation.json"));
    store.install(prepared({}, files, tree.folders()));
    require(store.flush(), "cannot save");
    BookmarkResolver resolver;
    resolver.setLocations({tree.url().path()});
    return best(rounds, [&] {
        const ResolvedMoves found = resolvedMoves(store.records(), {}, resolver);
        require(found.moves.isEmpty(), "something has moved");
        store.install(prepared(store.records(), files, tree.folders(), found));
    });
}

double folderSearch(int size, int rounds) {
    const bench::GrownTree tree(size);
    return best(rounds, [&] {
        const auto found = searchFolders({tree.url()}, QStringLiteral("album"));
        require(static_cast<int>(found.size()) == size, "folders are missing");
    });
}

double treeWalk(int size, int rounds) {
    const bench::GrownTree tree(size);
    return best(rounds,
                [&] { require(!nextPlayableFolder(tree.url(), {tree.url()}), "there is music"); });
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    std::printf("%-40s %12s %12s %12s    growth\n", "", "10", "1,000", "100,000");
    bool isLinear = true;
    const std::pair<const char*, Cost> works[] = {
        {"listing a folder's tracks", listing},
        {"filling a folder's tracks", filling},
        {"publishing tags, 8 at a time", publishing},
        {"adding to a playlist and saving it", playlistSaving},
        {"checking remembered files", relocationCheck},
        {"searching folders by name", folderSearch},
        {"walking to the next folder with music", treeWalk},
    };
    for (const auto& [work, cost] : works) {
        isLinear = tabulate(work, cost) && isLinear;
    }
    return isLinear ? 0 : 1;
}
