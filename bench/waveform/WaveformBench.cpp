// What the waveform of a file costs beside decoding the file in a plain loop on one thread: the
// processor time where one thread makes it, and the time that goes by where all cores may.
//
// The file is short, as making an hour of music takes longer than measuring it; both figures grow
// with the length alike.
//
// Usage: bench_waveform [MINUTES]
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "support/PlayedMusic.h"
#include "support/Report.h"
#include "waveform/PeakDecoding.h"

using namespace halvenor;

namespace {

struct Cost {
    double processor = std::numeric_limits<double>::max();  ///< seconds
    double elapsed = std::numeric_limits<double>::max();
};

/// The best of three rounds.
Cost costOfPeaks(const FileUrl& url, int threads) {
    using Clock = std::chrono::steady_clock;
    Cost best;
    for (int i = 0; i < 3; ++i) {
        const double used = bench::usedSoFar().seconds;
        const auto begin = Clock::now();
        if (!decodePeaks([&] { return AudioFile::open(url); }, 160, threads)) {
            std::abort();
        }
        const std::chrono::duration<double> elapsed = Clock::now() - begin;
        best.processor = std::min(best.processor, bench::usedSoFar().seconds - used);
        best.elapsed = std::min(best.elapsed, elapsed.count());
    }
    return best;
}

void measure(const char* name, const FileUrl& url, int minutes) {
    const double decoding = bench::secondsToDecode(url);
    const int cores = std::clamp(QThread::idealThreadCount(), 1, 4);
    const Cost one = costOfPeaks(url, 1);
    const Cost all = costOfPeaks(url, cores);
    std::printf(
        "peaks of %d min of %s: %.0f ms of processor on one thread; decoding it: %.0f ms; "
        "ratio %.2f; %.0f ms go by on one core, %.0f on %d\n",
        minutes, name, one.processor * 1000, decoding * 1000, one.processor / decoding,
        one.elapsed * 1000, all.elapsed * 1000, cores);
    bench::report({.work = std::string("waveform of ") + name,
                   .unit = "ms",
                   .ours = one.processor * 1000,
                   .baseline = decoding * 1000});
}

}  // namespace

int main(int argc, char** argv) {
    const int minutes = argc > 1 ? std::atoi(argv[1]) : 5;
    const QTemporaryDir folder;
    const FileUrl place(folder.path().toUtf8());
    measure("FLAC", bench::writeMusic(place, minutes * 60), minutes);
    measure("MP3", bench::writeMusic(place, minutes * 60, bench::MusicKind::mp3), minutes);
    return 0;
}
