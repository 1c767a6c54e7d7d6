// What playing costs beside decoding alone: the processor time of this process while it plays a
// FLAC file (44.1 kHz, 16 bits) to its end through a private sound server, over that of decoding
// the same file once in a plain loop. The server's own time is not counted.
//
// Usage: bench_playback [SECONDS [SINK-RATE]]
#include <QDir>
#include <QTemporaryDir>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <random>
#include <sys/resource.h>
#include <vector>

#include "platform/audio/AudioEngine.h"
#include "platform/audio/Outputs.h"
#include "platform/audio/PlayerNode.h"
#include "platform/decode/AudioFile.h"
#include "selftest/audiowriter/AudioWriter.h"
#include "support/SoundServer.h"

using namespace halvenor;

namespace {

struct Usage {
    double seconds;
    long switches;
};

Usage used() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](timeval time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return {seconds(usage.ru_utime) + seconds(usage.ru_stime), usage.ru_nvcsw};
}

/// Tones and noise: compresses about as music does.
FileUrl makeMusic(const QTemporaryDir& folder, int seconds) {
    std::minstd_rand random(1);
    std::uniform_real_distribution<float> noise(-0.02F, 0.02F);
    std::vector<float> samples;
    for (int i = 0; i < seconds * 44100; ++i) {
        const auto tone = static_cast<float>(0.4 * std::sin(i * 0.03 + 2e-7 * i * double(i)));
        samples.push_back(tone + noise(random));
        samples.push_back(tone * 0.7F + noise(random));
    }
    const FileUrl url = FileUrl(folder.path().toUtf8()).appendingPathComponent("music.flac");
    writeAudioFile(url, AudioFileType::flac16, samples, 44100, 2);
    return url;
}

double decodeOnce(const FileUrl& url) {
    const Usage before = used();
    const auto file = AudioFile::open(url);
    std::vector<float> samples(8192 * 2);
    while (file->read(samples.data(), 8192) > 0) {
    }
    return used().seconds - before.seconds;
}

Usage play(PlayerNode& node, const FileUrl& url) {
    std::promise<void> ended;
    const Usage before = used();
    node.scheduleFile(AudioFile::open(url), [&](CompletionCallbackType) { ended.set_value(); });
    node.play();
    ended.get_future().wait();
    const Usage after = used();
    node.stop();
    node.waitUntilIdle();
    return {after.seconds - before.seconds, after.switches - before.switches};
}

}  // namespace

int main(int argc, char** argv) {
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 30;
    const int rate = argc > 2 ? std::atoi(argv[2]) : 44100;
    const QTemporaryDir folder;
    const FileUrl url = makeMusic(folder, seconds);
    test::SoundServer server({rate, 2});
    if (!server.isRunning()) {
        std::fprintf(stderr, "no sound server\n");
        return 1;
    }
    double decoding = decodeOnce(url);  // the first time loads the libraries
    for (int i = 0; i < 3; ++i) {
        decoding = i == 0 ? decodeOnce(url) : std::min(decoding, decodeOnce(url));
    }
    PlayerNode node;
    AudioEngine engine(makeSystemOutput(QStringLiteral("Halvenor")), node);
    engine.start();
    const Usage playing = play(node, url);
    std::printf(
        "playing %d s of FLAC, sink at %d Hz: %.1f ms; decoding it: %.1f ms; ratio %.2f; "
        "%.1f wake-ups a second\n",
        seconds, rate, playing.seconds * 1000, decoding * 1000, playing.seconds / decoding,
        static_cast<double>(playing.switches) / seconds);
    return 0;
}
