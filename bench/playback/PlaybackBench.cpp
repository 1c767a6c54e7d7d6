// What playing costs beside decoding alone: the processor time of this process while it plays a
// FLAC file (44.1 kHz, 16 bits) to its end through a private sound server, over that of decoding
// the same file once in a plain loop. The server's own time is not counted.
//
// Usage: bench_playback [SECONDS [SINK-RATE]]
#include <QTemporaryDir>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>

#include "platform/audio/AudioEngine.h"
#include "platform/audio/Outputs.h"
#include "platform/audio/PlayerNode.h"
#include "platform/decode/AudioFile.h"
#include "support/PlayedMusic.h"
#include "support/Report.h"
#include "support/SoundServer.h"

using namespace halvenor;
using bench::Usage;
using bench::usedSoFar;

namespace {

Usage play(PlayerNode& node, const FileUrl& url) {
    std::promise<void> ended;
    const Usage before = usedSoFar();
    node.scheduleFile(AudioFile::open(url), [&](CompletionCallbackType) { ended.set_value(); });
    node.play();
    ended.get_future().wait();
    const Usage after = usedSoFar();
    node.stop();
    node.waitUntilIdle();
    return {after.seconds - before.seconds, after.switches - before.switches};
}

}  // namespace

int main(int argc, char** argv) {
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 30;
    const int rate = argc > 2 ? std::atoi(argv[2]) : 44100;
    const QTemporaryDir folder;
    const FileUrl url = bench::writeMusic(FileUrl(folder.path().toUtf8()), seconds);
    test::SoundServer server({rate, 2});
    if (!server.isRunning()) {
        std::fprintf(stderr, "no sound server\n");
        return 2;
    }
    const double decoding = bench::secondsToDecode(url);
    PlayerNode node;
    AudioEngine engine(makeSystemOutput(QStringLiteral("Halvenor")), node);
    engine.start();
    const Usage playing = play(node, url);
    std::printf(
        "playing %d s of FLAC, sink at %d Hz: %.1f ms; decoding it: %.1f ms; ratio %.2f; "
        "%.1f wake-ups a second\n",
        seconds, rate, playing.seconds * 1000, decoding * 1000, playing.seconds / decoding,
        static_cast<double>(playing.switches) / seconds);
    bench::report({.work = "playing " + std::to_string(seconds) + " s of FLAC, no window",
                   .unit = "ms",
                   .ours = playing.seconds * 1000,
                   .baseline = decoding * 1000});
    return 0;
}
