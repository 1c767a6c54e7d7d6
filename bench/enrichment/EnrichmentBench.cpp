// What filling a folder's tracks costs beside the least that any program must do for it: 5,000 MP3
// and FLAC files with covers of 100 kB, through TagLib in a plain loop on one thread. Measured in
// alternation, warm; the figure is the median of the pairs' ratios.
#include <QCoreApplication>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <vector>

#include "BareReading.h"
#include "support/Measure.h"
#include "support/MusicFolder.h"
#include "support/Report.h"
#include "tags/TagService.h"

namespace {

using namespace halvenor;
using halvenor::bench::median;
using halvenor::bench::seconds;

constexpr int trackCount = 5000;
constexpr int pairs = 15;
constexpr qsizetype batchSize = 8;
constexpr size_t batchesAhead = 6;

// Batches in order, a few of them ahead of the one that is awaited.
Task<> readAll(QList<FileUrl> files, QList<Track>* tracks, bool* isDone) {
    std::vector<Job<QList<Track>>> jobs;
    qsizetype next = 0;
    for (size_t awaited = 0; next < files.size() || awaited < jobs.size(); ++awaited) {
        while (next < files.size() && jobs.size() < awaited + batchesAhead) {
            jobs.push_back(TagService::shared().readMetadata(files.mid(next, batchSize)));
            next += batchSize;
        }
        auto job = jobs[awaited];
        const QList<Track> batch = co_await job;
        *tracks += batch;
    }
    *isDone = true;
}

QList<Track> readByService(const QList<FileUrl>& files) {
    QList<Track> tracks;
    bool isDone = false;
    spawn(readAll(files, &tracks, &isDone));
    while (!isDone) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return tracks;
}

// A figure is worth nothing if the two did not read the same.
void require(bool condition) {
    if (!condition) {
        std::fputs("the readers differ\n", stderr);
        std::exit(1);
    }
}

void compare(const QList<Track>& tracks, const std::vector<bench::BareTrack>& bare) {
    require(tracks.size() == static_cast<qsizetype>(bare.size()));
    for (qsizetype i = 0; i < tracks.size(); ++i) {
        const Track& a = tracks[i];
        const bench::BareTrack& b = bare[static_cast<size_t>(i)];
        require(a.title() == b.title && a.artist() == b.artist && a.album() == b.album &&
                a.albumArtist() == b.albumArtist && a.genre() == b.genre && a.year() == b.year &&
                a.trackNumber() == b.track && a.sampleRate() == b.sampleRate &&
                a.artworkData().bytes().size() == b.coverBytes);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const bench::MusicFolder folder(trackCount);
    const QList<FileUrl>& files = folder.files();

    // One thread's worth of warming, so that threads and pools are not part of the growth.
    readByService(files.first(16));
    const int64_t before = bench::residentBytes();
    std::optional<QList<Track>> tracks = readByService(files);
    const int64_t growth = bench::residentBytes() - before;
    compare(*tracks, bench::readBare(files));
    tracks.reset();

    std::vector<double> bare, ours, ratios;
    for (int i = 0; i < pairs; ++i) {
        bare.push_back(seconds([&] { bench::readBare(files); }));
        ours.push_back(seconds([&] { readByService(files); }));
        ratios.push_back(ours.back() / bare.back());
    }
    std::printf("reading tags: %d files: %.0f ms, TagLib alone on one thread %.0f ms, ratio %.2f\n",
                trackCount, median(ours) * 1000, median(bare) * 1000, median(ratios));
    bench::report({.work = "reading the tags of 5,000 files",
                   .unit = "ms",
                   .ours = median(ours) * 1000,
                   .baseline = median(bare) * 1000,
                   .ratio = median(ratios)});
    std::printf("reading tags: memory of %d tracks: %.1f MB (covers %.1f MB)\n", trackCount,
                static_cast<double>(growth) / 1e6,
                trackCount / bench::MusicFolder::tracksPerAlbum * 0.1);
}
