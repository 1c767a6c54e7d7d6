// How much later the music comes when the output device changes: once because the user chooses
// another, and once because the chosen one is taken away. Silence counts, and so does what is
// heard twice. Beside it the bound that it has to keep: 100 ms, and what the sound server's own
// device buffer holds.
//
// The music goes from the first sink to a second one and back again. The first one's monitor tells
// in frames how long it was without music, and where in the music it stood before and after that.
// What the one is longer than the other, two changes have cost, by no clock but the sink's.
//
// Usage: bench_devices [ROUNDS]
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <vector>

#include "platform/audio/Outputs.h"
#include "playback/AudioEngineManager.h"
#include "support/Measure.h"
#include "support/PlayedMusic.h"
#include "support/Report.h"
#include "support/SoundServer.h"

using namespace halvenor;

namespace {

constexpr int rate = 44100;
constexpr double ownBound = 100;
/// What the output asks of the server's device, in milliseconds.
constexpr double serverLatency = 100;
/// A device change takes more, and music has no silence of so many frames.
constexpr int64_t shortestSilence = 64;

/// As many frames tell a place in the music.
constexpr int64_t sample = 64;

using Samples = std::vector<float>;

Samples decoded(const FileUrl& url) {
    const std::shared_ptr<AudioFile> file = AudioFile::open(url);
    Samples samples(static_cast<size_t>(file->length()) * 2);
    int64_t frames = 0;
    while (const int64_t got = file->read(samples.data() + frames * 2, file->length() - frames)) {
        frames += got;
    }
    return samples;
}

/// Where in the music these frames are; -1 if nowhere.
int64_t placeOf(const float* frames, const Samples& music) {
    const auto found = std::search(music.begin(), music.end(), frames, frames + sample * 2);
    return found == music.end() ? -1 : (found - music.begin()) / 2;
}

/// Frames by which the music after the longest silence in a recording is late; absent where it
/// can't be told.
std::optional<int64_t> delayIn(const Samples& heard, const Samples& music) {
    int64_t last = -1;
    int64_t begin = 0;
    int64_t end = 0;
    const auto frames = static_cast<int64_t>(heard.size()) / 2;
    for (int64_t frame = 0; frame < frames; ++frame) {
        if (heard[frame * 2] == 0 && heard[frame * 2 + 1] == 0) {
            continue;
        }
        if (last >= 0 && frame - last - 1 > end - begin) {
            begin = last + 1;
            end = frame;
        }
        last = frame;
    }
    if (end - begin < shortestSilence || begin < sample || end + sample > frames) {
        return std::nullopt;
    }
    const int64_t before = placeOf(&heard[(begin - sample) * 2], music);
    const int64_t after = placeOf(&heard[end * 2], music);
    if (before < 0 || after < 0) {
        return std::nullopt;
    }
    return end - begin - (after - before - sample);
}

template <class Condition>
bool runUntil(Condition condition) {
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < 5000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 5);
    }
    return condition();
}

void runFor(int milliseconds) {
    QElapsedTimer timer;
    timer.start();
    runUntil([&] { return timer.elapsed() >= milliseconds; });
}

enum class Back { chosen, unloaded };

class Bench {
  public:
    Bench() : engine_(makeSystemOutput(name_), &AudioFile::open, makeSystemOutputDevices(name_)) {}

    bool isReady() { return server_.isRunning(); }

    /// Milliseconds for one of the two changes; absent when something went wrong.
    std::optional<double> delayOfAChange(Back back) {
        const QByteArray module = server_.loadSink("second", {rate, 2});
        const QString second = QStringLiteral("second");
        engine_.refreshOutputDevices();
        if (!runUntil([&] { return engine_.outputDevices->size() == 2; })) {
            return std::nullopt;
        }
        test::SoundRecorder first(server_, "main");
        engine_.loadAndPlay(track_);
        runFor(700);
        engine_.selectOutputDevice(second);
        runFor(700);
        if (back == Back::chosen) {
            engine_.selectOutputDevice({});
        } else {
            server_.unloadModule(module);
            runUntil([&] { return engine_.selectedOutputDeviceUID->isEmpty(); });
        }
        runFor(700);
        const std::optional<int64_t> frames = delayIn(first.finish(), music_);
        engine_.stop();
        if (back == Back::chosen) {
            server_.unloadModule(module);
        }
        runUntil([&] { return engine_.outputDevices->size() == 1; });
        return frames ? std::optional(static_cast<double>(*frames) * 500 / rate) : std::nullopt;
    }

  private:
    Track makeTrack() const {
        TrackFields fields;
        fields.url = bench::writeMusic(FileUrl(folder_.path().toUtf8()), 5);
        return Track(fields);
    }

    const QString name_ = QStringLiteral("Halvenor");
    const QTemporaryDir folder_;
    const Track track_ = makeTrack();
    const Samples music_ = decoded(track_.url());
    test::SoundServer server_{{rate, 2}};
    AudioEngineManager engine_;
};

bool report(const char* what, Bench& bench, Back back, int rounds) {
    std::vector<double> delays;
    for (int round = 0; round < rounds; ++round) {
        const auto delay = bench.delayOfAChange(back);
        if (!delay) {
            std::printf("%s: not to be told\n", what);
            return false;
        }
        delays.push_back(*delay);
    }
    const auto [least, most] = std::ranges::minmax(delays);
    std::printf(
        "%s: the music is %.1f ms late (%.1f to %.1f); bound %.0f ms and the server's %.0f ms\n",
        what, bench::median(delays), least, most, ownBound, serverLatency);
    return bench::report({.work = std::string("music late: ") + what,
                          .unit = "ms",
                          .ours = most,
                          .bound = ownBound + serverLatency});
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const int rounds = std::max(1, argc > 1 ? std::atoi(argv[1]) : 5);
    Bench bench;
    if (!bench.isReady()) {
        std::fprintf(stderr, "no sound server\n");
        return 2;
    }
    const bool isSwitchGood = report("another device chosen", bench, Back::chosen, rounds);
    const bool isLossGood =
        report("chosen, then the device taken away", bench, Back::unloaded, rounds);
    return isSwitchGood && isLossGood ? 0 : 1;
}
