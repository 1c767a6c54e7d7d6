// What listing a folder of music costs beside the least that any program must do for it: read the
// entries, ask each one's size, and sort the names by the keys of the same collator. The target is
// at most 1.5 times that, for 10,000 tracks in one folder.
#include <QCollator>
#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <vector>

#include "base/Collation.h"
#include "base/FileDescriptor.h"
#include "model/scanner/DirectoryListing.h"
#include "support/Measure.h"
#include "support/Report.h"

namespace {

using halvenor::FileDescriptor;
using halvenor::bench::median;
using halvenor::bench::seconds;

constexpr int trackCount = 10000;
constexpr int pairs = 41;
constexpr double target = 1.5;

// Names as a folder of a ripped collection has them: numbers, words, a few beyond ASCII.
QByteArray trackName(int number) {
    static constexpr std::array words = {"Prelude", "Night Train",           "Über den Wolken",
                                         "Été",     "Intermezzo in A minor", "Coda (live)"};
    static constexpr std::array extensions = {"mp3", "flac", "m4a", "ogg"};
    const auto index = static_cast<size_t>(number) * 7919;
    return QByteArray::number(number * 37 % trackCount) + " - " + words[index % words.size()] +
           '.' + extensions[index % extensions.size()];
}

void fill(const QByteArray& folder) {
    for (int number = 0; number < trackCount; ++number) {
        const QByteArray path = folder + '/' + trackName(number);
        const FileDescriptor file(::open(path.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
        if (::ftruncate(file.get(), 1000 + number) != 0) {
            std::perror("cannot make the folder");
            std::exit(1);
        }
    }
}

struct BareEntry {
    QString name;
    QCollatorSortKey key;
    int64_t size;
};

std::vector<BareEntry> bareListing(const QByteArray& folder) {
    std::vector<BareEntry> entries;
    DIR* const stream = ::opendir(folder.constData());
    while (const dirent* const entry = ::readdir(stream)) {
        struct stat status = {};
        if (entry->d_name[0] != '.' &&
            ::fstatat(::dirfd(stream), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0) {
            QString name = QString::fromUtf8(entry->d_name);
            QCollatorSortKey key = halvenor::localizedStandardKey(name);
            entries.push_back({std::move(name), std::move(key), status.st_size});
        }
    }
    ::closedir(stream);
    std::ranges::sort(
        entries, [](const BareEntry& a, const BareEntry& b) { return a.key.compare(b.key) < 0; });
    return entries;
}

// Both in turn, so that whatever else the machine does meets both alike.
bool comparePairs(const QByteArray& folder) {
    std::vector<double> bare;
    std::vector<double> listing;
    std::vector<double> ratios;
    for (int pair = 0; pair < pairs; ++pair) {
        bare.push_back(seconds([&] { benchmark::DoNotOptimize(bareListing(folder)); }));
        listing.push_back(seconds(
            [&] { benchmark::DoNotOptimize(halvenor::listDirectory(halvenor::FileUrl(folder))); }));
        ratios.push_back(listing.back() / bare.back());
    }
    const double ratio = median(ratios);
    std::printf(
        "%d tracks: bare %.2f ms, listing %.2f ms, ratio %.2f (median of %d; target %.1f)\n",
        trackCount, median(bare) * 1e3, median(listing) * 1e3, ratio, pairs, target);
    return halvenor::bench::report({.work = "listing a folder of 10,000 tracks",
                                    .unit = "ms",
                                    .ours = median(listing) * 1e3,
                                    .baseline = median(bare) * 1e3,
                                    .ratio = ratio,
                                    .bound = target});
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    const QByteArray path = folder.path().toUtf8();
    fill(path);
    benchmark::RegisterBenchmark("bare readdir, stat and sort", [&](benchmark::State& state) {
        for (auto _ : state) {
            benchmark::DoNotOptimize(bareListing(path));
        }
    })->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("listDirectory", [&](benchmark::State& state) {
        for (auto _ : state) {
            benchmark::DoNotOptimize(halvenor::listDirectory(halvenor::FileUrl(path)));
        }
    })->Unit(benchmark::kMillisecond);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return comparePairs(path) ? 0 : 2;
}
