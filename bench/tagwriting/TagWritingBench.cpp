// What saving tags costs beside the least that any program must do to replace a file safely:
// copying it, flushing the copy and moving it over the original. 200 MP3 and 200 FLAC files of
// 10 MB, whose title and cover change, written one after the other through the service as an editor
// does. Every file is replaced once by each, the two taking turns at being first, so that both find
// the files in the same state. The target is a ratio of at most 1.0.
//
// And how much memory a save takes, in a process of its own, as a multiple of the file's size. The
// target is at most 2.2.
#include <QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <string_view>
#include <unistd.h>
#include <vector>

#include "PlainReplacement.h"
#include "support/Measure.h"
#include "support/MusicFolder.h"
#include "support/PeakMemory.h"
#include "support/Report.h"
#include "tags/TagService.h"

namespace {

using namespace halvenor;

constexpr int fileCount = 400;
constexpr int coverBytes = 300'000;
constexpr int audioBytes = 10'000'000 - coverBytes;

void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        std::exit(1);
    }
}

template <class T>
Task<> finish(Job<T> job, T* result, bool* isDone) {
    *result = co_await job;
    *isDone = true;
}

template <class T>
T wait(Job<T> job) {
    T result;
    bool isDone = false;
    spawn(finish(std::move(job), &result, &isDone));
    while (!isDone) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return result;
}

// Another title and another cover of the same size, as an editor would save them.
Track edited(Track track) {
    track.setTitle(track.title() + QStringLiteral(" (edited)"));
    QByteArray cover = track.artworkData().bytes();
    std::ranges::reverse(cover);
    track.setArtworkData(
        ArtworkPool::shared().intern(cover.constData(), static_cast<size_t>(cover.size())));
    return track;
}

bool isSame(const Track& a, const Track& b) {
    return a.title() == b.title() && a.artist() == b.artist() && a.year() == b.year() &&
           a.artworkData().bytes() == b.artworkData().bytes();
}

struct Times {
    double ours = 0;
    double plain = 0;
};

Times replaceTwice(const FileUrl& file, bool isOursFirst) {
    const Track track = edited(wait(TagService::shared().readMetadata(file)));
    Times times;
    const auto ours = [&] { wait(TagService::shared().writeMetadata(track)); };
    const auto plain = [&] { bench::replaceByCopy(file.path().constData()); };
    if (isOursFirst) {
        times.ours = bench::seconds(ours);
        times.plain = bench::seconds(plain);
    } else {
        times.plain = bench::seconds(plain);
        times.ours = bench::seconds(ours);
    }
    require(isSame(wait(TagService::shared().readMetadata(file)), track), "a file was not written");
    return times;
}

bool compareTimes(const QList<FileUrl>& files) {
    std::vector<double> ours, plain, ratios;
    for (int i = 0; i < files.size(); ++i) {
        // Both kinds of file get both orders.
        const Times times = replaceTwice(files[i], i / 2 % 2 == 0);
        ours.push_back(times.ours);
        plain.push_back(times.plain);
        ratios.push_back(times.ours / times.plain);
    }
    const auto sum = [](const std::vector<double>& values) {
        return std::accumulate(values.begin(), values.end(), 0.0);
    };
    const double end = bench::seconds([] { wait(TagService::shared().flushWrites()); });
    const double ratio = bench::median(ratios);
    std::printf(
        "writing tags: %d files of 10 MB: %.1f ms a file, copy, flush and move %.1f ms, "
        "ratio %.2f (medians; target 1.0), all of them %.1f s (%.1f ms of it at the end) and "
        "%.1f s\n",
        fileCount, bench::median(ours) * 1e3, bench::median(plain) * 1e3, ratio, sum(ours) + end,
        end * 1e3, sum(plain));
    return bench::report({.work = "saving tags into a file of 10 MB",
                          .unit = "ms",
                          .ours = bench::median(ours) * 1e3,
                          .baseline = bench::median(plain) * 1e3,
                          .ratio = ratio,
                          .bound = 1.0});
}

// In a process of its own: what it holds at the most while it saves, over what it held before.
int printGrowth(const char* path) {
    const FileUrl url{QByteArray(path)};
    const test::PeakMemory memory;
    const Track track = edited(wait(TagService::shared().readMetadata(url)));
    wait(TagService::shared().writeMetadata(track));
    std::printf("%lld", static_cast<long long>(memory.growth()));
    return 0;
}

bool compareMemory(const FileUrl& file) {
    const QByteArray command = '"' + QCoreApplication::applicationFilePath().toUtf8() +
                               "\" --growth \"" + file.path() + '"';
    std::FILE* const pipe = ::popen(command.constData(), "r");
    long long growth = 0;
    require(pipe && std::fscanf(pipe, "%lld", &growth) == 1, "the memory was not measured");
    require(::pclose(pipe) == 0, "the memory was not measured");
    const double ratio = static_cast<double>(growth) / 10e6;
    std::printf(
        "writing tags: memory of one save (%s): %.1f MB, %.2f times the file (target "
        "2.2)\n",
        file.pathExtension().constData(), static_cast<double>(growth) / 1e6, ratio);
    const bool isSmall =
        bench::report({.work = "memory of saving tags, " + file.pathExtension().toStdString(),
                       .unit = "MB",
                       .ours = static_cast<double>(growth) / 1e6,
                       .baseline = 10,
                       .bound = 2.2});
    return growth > 0 && isSmall;
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    if (argc == 3 && std::string_view(argv[1]) == "--growth") {
        return printGrowth(argv[2]);
    }
    const bench::MusicFolder folder(fileCount, coverBytes, audioBytes);
    ::sync();  // What made the files is not to be waited for below.
    const bool isFast = compareTimes(folder.files());
    const bool isMp3Small = compareMemory(folder.files()[0]);
    const bool isFlacSmall = compareMemory(folder.files()[1]);
    return isFast && isMp3Small && isFlacSmall ? 0 : 1;
}
