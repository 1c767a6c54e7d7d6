// A program that ends while its shared services are at work: tags are read, waveforms are made and
// folders are listed, more of each than there is time for.
//
// Usage: test_leave FOLDER MILLISECONDS stop|leave
//   stop   asks the work to stop before the application object ends, as tasks do
//   leave  ends without a word
// Ends with 0; with 3 if nothing was left to do by then.
#include <QCoreApplication>
#include <QTimer>

#include <cstdlib>
#include <stop_token>
#include <string_view>

#include "model/scanner/FolderScanner.h"
#include "tags/TagService.h"
#include "waveform/WaveformExtractor.h"

using namespace halvenor;

namespace {

constexpr int rounds = 3000;

/// Jobs that have come to their end.
struct Done {
    int tags = 0;
    int waveforms = 0;
    int listings = 0;

    bool isAll() const { return tags + waveforms + listings == 3 * rounds; }
};

template <class T>
Task<> count(Job<T> job, int* done) {
    co_await job;
    ++*done;
}

Task<> countPeaks(FileUrl url, int peaks, std::stop_token token, int* done) {
    auto extraction = WaveformExtractor::shared().extractPeaks(url, peaks, token);
    co_await extraction;
    ++*done;
}

void startWork(const FileUrl& folder, const std::stop_token& token, Done& done) {
    const QList<FileUrl> files{folder.appendingPathComponent("a.flac"),
                               folder.appendingPathComponent("b.mp3"),
                               folder.appendingPathComponent("c.ogg")};
    for (int i = 0; i < rounds; ++i) {
        spawn(count(TagService::shared().readMetadata(files, token), &done.tags));
        spawn(count(FolderScanner::shared().listDirectory(folder, token), &done.listings));
        // Another number of values each time, or the first answer would serve for all.
        spawn(countPeaks(files[i % files.size()], i + 1, token, &done.waveforms));
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        return 2;
    }
    Done done;
    const bool isStopping = argv[3] == std::string_view("stop");
    {
        QCoreApplication application(argc, argv);
        std::stop_source source;
        startWork(FileUrl(argv[1]), source.get_token(), done);
        QTimer::singleShot(std::atoi(argv[2]), &application, &QCoreApplication::quit);
        QCoreApplication::exec();
        if (isStopping) {
            source.request_stop();
        }
    }
    return done.isAll() ? 3 : 0;
}
