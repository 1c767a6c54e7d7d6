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

template <class Work>
Task<> count(Work work, int* done) {
    co_await work;
    ++*done;
}

void startWork(const FileUrl& folder, const std::stop_token& token, int* done) {
    const QList<FileUrl> files{folder.appendingPathComponent("a.flac"),
                               folder.appendingPathComponent("b.mp3"),
                               folder.appendingPathComponent("c.ogg")};
    for (int i = 0; i < rounds; ++i) {
        spawn(count(TagService::shared().readMetadata(files, token), done));
        spawn(count(FolderScanner::shared().listDirectory(folder, token), done));
        // Another number of values each time, or the first answer would serve for all.
        auto peaks =
            WaveformExtractor::shared().extractPeaks(files[i % files.size()], i + 1, token);
        spawn(count(std::move(peaks), done));
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        return 2;
    }
    int done = 0;
    const bool isStopping = argv[3] == std::string_view("stop");
    {
        QCoreApplication application(argc, argv);
        std::stop_source source;
        startWork(FileUrl(argv[1]), source.get_token(), &done);
        QTimer::singleShot(std::atoi(argv[2]), &application, &QCoreApplication::quit);
        QCoreApplication::exec();
        if (isStopping) {
            source.request_stop();
        }
    }
    return done == 3 * rounds ? 3 : 0;
}
