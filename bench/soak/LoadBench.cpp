// Playing through a real sound server while other programs want every core: a busy loop of
// ordinary priority for each. The recorded monitor of the server's sink tells what a listener would
// have heard: every place where silence was put in, and every frame that was lost or heard twice.
//
// Usage: bench_load [SECONDS [LOOPS]]
// With 0 LOOPS, whoever runs it sees to the load.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "platform/audio/Outputs.h"
#include "playback/AudioEngineManager.h"
#include "support/ChildProcess.h"
#include "support/MediaLibrary.h"
#include "support/Report.h"
#include "support/SoundServer.h"

namespace {

using namespace halvenor;

constexpr int rate = 44100;
constexpr int secondsOfTrack = 30;

/// Ends with the object.
std::vector<test::ChildProcess> makeLoad(int count) {
    std::vector<test::ChildProcess> loops;
    for (int i = 0; i < count; ++i) {
        loops.emplace_back(
            test::ChildProcess::Setup{.command = {"sh", "-c", "while :; do :; done"}});
    }
    return loops;
}

struct Heard {
    test::Comparison comparison;
    int failures = 0;
};

/// Plays the two files in turn until `frames` frames of music are through.
Heard play(test::SoundServer& server, const std::vector<FileUrl>& files,
           const std::vector<float>& music) {
    Heard heard;
    AudioEngineManager engine(makeSystemOutput(QStringLiteral("Halvenor")));
    size_t begun = 0;
    bool hasEnded = false;
    const auto declareNext = [&] {
        ++begun;
        TrackFields fields;
        if (begun < files.size()) {
            fields.url = files[begun];
            engine.setNextTrack(Track(fields));
        } else {
            engine.setNextTrack(std::nullopt);
        }
    };
    engine.onLoadFailed = [&](const Track&, const std::exception_ptr&) { ++heard.failures; };
    engine.onGaplessTransition = [&](const Track&) { declareNext(); };
    engine.onPlaybackEnded = [&] { hasEnded = true; };
    test::SoundRecorder recorder(server);
    TrackFields first;
    first.url = files.front();
    engine.loadAndPlay(Track(first));
    declareNext();
    while (!hasEnded && heard.failures == 0) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    heard.comparison = test::compare(music, recorder.finish(), 2);
    return heard;
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const int wanted = std::max(1, argc > 1 ? std::atoi(argv[1]) : 60);
    const int tracks = std::max(1, wanted / secondsOfTrack);
    std::vector<FileUrl> files;
    std::vector<float> music;
    for (int i = 0; i < tracks; ++i) {
        const test::Signal signal =
            test::makeSignal(int64_t{rate} * secondsOfTrack, rate, 2, i + 1);
        files.push_back(test::MediaLibrary::shared().place(QByteArray::number(i) + ".flac"));
        test::mediaKind("flac 16").write(files.back(), signal);
        music.insert(music.end(), signal.samples.begin(), signal.samples.end());
    }
    test::SoundServer server({rate, 2});
    if (!server.isRunning()) {
        std::fprintf(stderr, "no sound server\n");
        return 1;
    }
    const auto load = makeLoad(argc > 2 ? std::atoi(argv[2]) : QThread::idealThreadCount());
    const Heard heard = play(server, files, music);
    const test::Comparison& found = heard.comparison;
    std::printf("%d s of music under load (%zu busy loops): %s; %d failures\n",
                tracks * secondsOfTrack, load.size(), found.text().c_str(), heard.failures);
    bench::report(
        {.work = "gaps in " + std::to_string(tracks * secondsOfTrack) + " s of music under load",
         .ours = static_cast<double>(found.gaps + found.lost)});
    return heard.failures == 0 && found.leadIn >= 0 ? 0 : 1;
}
