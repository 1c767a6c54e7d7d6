// Music through real sound servers while their sinks come and go, and they themselves: what the
// sinks' monitors got is compared frame by frame, and a player that waits must use no processor.
#include <QElapsedTimer>

#include <cmath>
#include <gmock/gmock.h>
#include <iostream>
#include <sys/resource.h>

#include "EngineFixture.h"
#include "platform/audio/Outputs.h"
#include "support/EventLoop.h"
#include "support/SoundServer.h"

using namespace halvenor;
using namespace halvenor::test;
using std::chrono::milliseconds;

namespace {

const QString mainSink = QStringLiteral("main");
const QString otherSink = QStringLiteral("other");

/// What a server may hold of a stream when it goes: device buffers of the test's servers.
constexpr int64_t serverLatency = 44100 * 15 / 100;
/// Three seconds of music, with a move that may be silent for 100 ms beside the latency; starting
/// and telling of the end take their time too.
constexpr int longestPlay = 3000 + 100 + 150 + 300;

/// PipeWire loses a cycle when it moves a stream by itself; as much as two of its longest.
constexpr int64_t pipeWireCycles = 2048;

/// The processor that this process uses in a quiet time, as a share of it.
double idleProcessorUse() {
    spinFor(milliseconds(300));  // What is under way may end.
    const auto used = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        const auto seconds = [](timeval time) {
            return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
        };
        return seconds(usage.ru_utime) + seconds(usage.ru_stime);
    };
    const double before = used();
    spinFor(milliseconds(500));
    return (used() - before) / 0.5;
}

/// The engine as the program has it, on a private server, with tracks of noise in memory.
class Listening : public NoiseFiles {
  public:
    Listening()
        : engine(
              makeSystemOutput(QStringLiteral("Halvenor")),
              [this](const FileUrl& url) { return open(url); },
              makeSystemOutputDevices(QStringLiteral("Halvenor"))) {
        engine.onLoadFailed = [this](const Track&, const std::exception_ptr&) { ++failures; };
        engine.onGaplessTransition = [this](const Track&) { ++transitions; };
        engine.onPlaybackEnded = [this] { isEnded = true; };
    }

    /// Plays two tracks one behind the other, on a sink that was chosen before.
    void start(double firstSeconds = 2, double secondSeconds = 1, const QString& sink = {}) {
        engine.refreshOutputDevices();
        ASSERT_TRUE(spinUntil([&] { return isKnown(sink.isEmpty() ? mainSink : sink); }));
        engine.selectOutputDevice(sink);
        const Track first = add("first", std::llround(firstSeconds * 44100));
        const Track second = add("second", std::llround(secondSeconds * 44100));
        music = samplesOf(first) + samplesOf(second);
        engine.loadAndPlay(first);
        engine.setNextTrack(second);
    }

    bool isKnown(const QString& uid) const {
        return std::ranges::find(*engine.outputDevices, uid, &AudioOutputDevice::id) !=
               engine.outputDevices->end();
    }
    bool waitForPosition(double seconds) {
        return spinUntil([&] { return *engine.currentTime >= seconds; });
    }
    bool waitForEnd() {
        return spinUntil([&] { return isEnded; });
    }
    double position() {
        engine.updateCurrentTime();
        return *engine.currentTime;
    }

    int failures = 0;
    int transitions = 0;
    bool isEnded = false;
    std::vector<float> music;
    AudioEngineManager engine;
};

/// What two sinks got of music that moved from one to the other. The recorder of the first is
/// moved along by the server, and says nothing from then on.
struct Move {
    /// @param heard frames that the engine had told of before
    Move(const std::vector<float>& music, SoundRecorder& from, SoundRecorder& to, double heard)
        : heardBefore(std::llround(heard * 44100)),
          before(compare(music, from.finish(), 2)),
          after(compare(music, to.finish(), 2)) {
        left = before.firstMismatch;
        entered = static_cast<int64_t>(music.size()) / 2 - after.matched;
    }

    /// Nothing skipped, but for what the server lost by itself, and no more repeated than it held.
    void expectClean(int64_t lostByServer = 0) const {
        EXPECT_EQ(after.changed + after.excess, 0) << after.text();
        // Where the server loses a cycle by itself, that may be a moment of silence.
        EXPECT_LE(after.gaps, lostByServer > 0 ? 1 : 0) << after.text();
        // A server that is slow to follow is helped along, and may then hear a little again.
        EXPECT_LE(after.repeated, serverLatency) << after.text();
        EXPECT_EQ(after.lost, entered + after.repeated)
            << "from there on to the end: " << after.text();
        std::cout << "left at " << left << ", entered at " << entered << std::endl;
        if (left < heardBefore - serverLatency) {
            // PipeWire may end a recorder before it has passed on what the sink had.
            EXPECT_LE(entered, heardBefore + serverLatency) << "skipped";
            return;
        }
        EXPECT_LE(entered, left + lostByServer) << "skipped";
        EXPECT_GE(entered, left - serverLatency) << "repeated";
    }

    int64_t heardBefore = 0;
    Comparison before;
    Comparison after;
    int64_t left = 0;     ///< the frame behind the last that the old sink got
    int64_t entered = 0;  ///< the first that the new one got
};

class DeviceChanges : public testing::TestWithParam<SoundServerKind> {
  protected:
    void SetUp() override {
        if (!SoundServer::isInstalled(GetParam())) {
            GTEST_SKIP() << "the sound server is not installed";
        }
        server = std::make_unique<SoundServer>(cd, GetParam());
        ASSERT_TRUE(server->isRunning());
    }
    QByteArray loadOther() { return server->loadSink("other", cd); }

    std::unique_ptr<SoundServer> server;
};

}  // namespace

TEST_P(DeviceChanges, ListSinksByTheirDescriptions) {
    Listening listening;
    AudioEngineManager& engine = listening.engine;
    EXPECT_TRUE(engine.outputDevices->isEmpty());
    engine.refreshOutputDevices();
    ASSERT_TRUE(spinUntil([&] { return engine.outputDevices->size() == 1; }));
    EXPECT_EQ(engine.outputDevices->first().id, mainSink);
    EXPECT_EQ(*engine.defaultOutputDeviceName, engine.outputDevices->first().name);

    QByteArrayList modules;
    for (const auto& [uid, name] : {std::pair{"b10", "Sink10"}, {"b9", "sink9"}, {"c9", "sink9"}}) {
        modules.append(
            server
                ->pactl({"load-module", "module-null-sink", std::string("sink_name=") + uid,
                         std::string("sink_properties=device.description='") + name + "'"})
                .trimmed());
    }
    ASSERT_TRUE(spinUntil([&] { return engine.outputDevices->size() == 4; }));
    // Two of one name, and 9 before 10.
    for (const auto& [row, uid] : {std::pair{1, "b9"}, {2, "c9"}, {3, "b10"}}) {
        EXPECT_EQ(engine.outputDevices->at(row).id, QLatin1String(uid));
    }
    EXPECT_EQ(engine.outputDevices->at(3).name, QStringLiteral("Sink10"));

    ASSERT_TRUE(server->makeDefaultSink("b10"));
    EXPECT_TRUE(
        spinUntil([&] { return *engine.defaultOutputDeviceName == QStringLiteral("Sink10"); }));
    server->unloadModule(modules[0]);
    EXPECT_TRUE(spinUntil([&] { return !listening.isKnown(QStringLiteral("b10")); }));
    server->kill();
    spinFor(milliseconds(100));
    EXPECT_EQ(engine.outputDevices->size(), 3) << "a server takes no device with it";
    EXPECT_LT(idleProcessorUse(), 0.05);
    server->start();
    EXPECT_TRUE(spinUntil([&] { return engine.outputDevices->size() == 1; }));
}

TEST_P(DeviceChanges, LetTheMusicGoOnWhenTheChosenSinkIsUnloaded) {
    const QByteArray other = loadOther();
    Listening listening;
    SoundRecorder from(*server, "other");
    SoundRecorder to(*server, "main");
    QElapsedTimer timer;
    timer.start();
    listening.start(2, 1, otherSink);
    ASSERT_TRUE(listening.waitForPosition(0.8));
    const double heard = listening.position();
    server->unloadModule(other);
    ASSERT_TRUE(spinUntil([&] { return listening.engine.selectedOutputDeviceUID->isEmpty(); }));
    ASSERT_TRUE(listening.waitForEnd());
    EXPECT_LT(timer.elapsed(), longestPlay) << "silence";
    EXPECT_EQ(listening.transitions, 1);
    EXPECT_EQ(listening.failures, 0);
    EXPECT_FALSE(*listening.engine.outputDeviceError);
    Move(listening.music, from, to, heard).expectClean();
}

TEST_P(DeviceChanges, LetTheMusicFollowTheDefault) {
    const QByteArray other = loadOther();
    for (const bool isUnloaded : {false, true}) {
        SCOPED_TRACE(isUnloaded ? "the default sink is unloaded" : "another becomes the default");
        Listening listening;
        SoundRecorder from(*server, isUnloaded ? "other" : "main");
        SoundRecorder to(*server, isUnloaded ? "main" : "other");
        QElapsedTimer timer;
        timer.start();
        listening.start();
        ASSERT_TRUE(listening.waitForPosition(0.8));
        const double heard = listening.position();
        if (isUnloaded) {
            server->unloadModule(other);
        } else {
            server->setDefaultSink("other");
        }
        ASSERT_TRUE(listening.waitForEnd());
        EXPECT_LT(timer.elapsed(), longestPlay) << "silence";
        EXPECT_EQ(listening.transitions, 1);
        const bool isPipeWire = GetParam() == SoundServerKind::pipeWire;
        Move(listening.music, from, to, heard).expectClean(isPipeWire ? pipeWireCycles : 0);
    }
}

TEST_P(DeviceChanges, KeepThePlaceOverAnUnloadWhilePaused) {
    const QByteArray other = loadOther();
    Listening listening;
    listening.start(2, 1, otherSink);
    ASSERT_TRUE(listening.waitForPosition(0.5));
    listening.engine.pause();
    const double place = *listening.engine.currentTime;
    server->unloadModule(other);
    ASSERT_TRUE(spinUntil([&] { return listening.engine.selectedOutputDeviceUID->isEmpty(); }));
    EXPECT_EQ(*listening.engine.currentTime, place);
    EXPECT_FALSE(*listening.engine.isPlaying);
    EXPECT_LT(idleProcessorUse(), 0.05);
    listening.engine.resume();
    EXPECT_NEAR(listening.position(), place, 0.1);
    EXPECT_TRUE(listening.waitForEnd());
}

TEST_P(DeviceChanges, SurviveTheEndOfTheServer) {
    for (const char* state : {"playing", "paused", "idle"}) {
        SCOPED_TRACE(state);
        loadOther();
        Listening listening;
        listening.start(3, 1, otherSink);
        ASSERT_TRUE(listening.waitForPosition(0.5));
        const bool isPlaying = state == std::string("playing");
        if (state == std::string("paused")) {
            listening.engine.pause();
        } else if (state == std::string("idle")) {
            listening.engine.stop();
        }
        server->kill();
        spinFor(milliseconds(300));
        const double place = listening.position();
        EXPECT_LT(idleProcessorUse(), 0.05);
        EXPECT_EQ(listening.position(), place) << "it waits";
        server->start();
        loadOther();
        EXPECT_TRUE(spinUntil([&] { return listening.engine.outputDevices->size() == 2; }));
        if (!isPlaying) {
            spinFor(milliseconds(500));
            EXPECT_EQ(*listening.engine.currentTime, place);
            if (state == std::string("idle")) {
                listening.engine.seek(0);
            }
            listening.engine.resume();
        }
        EXPECT_TRUE(listening.waitForPosition(place + 0.2)) << "it goes on by itself";
        EXPECT_LT(listening.position(), place + 2.4) << "and from where it was";
        EXPECT_EQ(*listening.engine.selectedOutputDeviceUID, otherSink);
        EXPECT_EQ(*listening.engine.isPlaying, true);
        EXPECT_EQ(listening.failures, 0);
        server->kill();
        server->start();
    }
}

TEST_P(DeviceChanges, WaitWhenTheLastSinkIsGone) {
    if (GetParam() == SoundServerKind::pipeWire) {
        GTEST_SKIP() << "its session manager keeps a dummy sink";
    }
    Listening listening;
    listening.start(3);
    ASSERT_TRUE(listening.waitForPosition(0.5));
    const QByteArray list = server->pactl({"list", "short", "modules"});
    for (const QByteArray& line : list.split('\n')) {
        if (line.contains("module-null-sink")) {
            server->unloadModule(line.split('\t').first());
        }
    }
    ASSERT_TRUE(spinUntil([&] { return listening.engine.outputDeviceError->has_value(); }));
    EXPECT_EQ(**listening.engine.outputDeviceError,
              QStringLiteral("Audio output device is unavailable: System Default"));
    EXPECT_TRUE(listening.engine.outputDevices->isEmpty());
    const double place = listening.position();
    EXPECT_LT(idleProcessorUse(), 0.05);
    EXPECT_EQ(listening.position(), place);
    loadOther();
    EXPECT_TRUE(listening.waitForPosition(place + 0.2));
    EXPECT_TRUE(spinUntil([&] { return !listening.engine.outputDeviceError->has_value(); }));
    EXPECT_EQ(listening.failures, 0);
    EXPECT_TRUE(listening.waitForEnd());
}

TEST_P(DeviceChanges, MayComeAHundredTimesAtOnce) {
    Listening listening;
    listening.start(30, 1);
    ASSERT_TRUE(listening.waitForPosition(0.2));
    AudioEngineManager& engine = listening.engine;
    QElapsedTimer timer;
    timer.start();
    QByteArray other;
    for (int change = 0; change < 100; ++change) {
        switch (change % 4) {
            case 0:
                other = loadOther();
                break;
            case 1:
                if (change % 8 == 1) {
                    server->setDefaultSink("other");
                } else {
                    EXPECT_TRUE(spinUntil([&] { return listening.isKnown(otherSink); }));
                    engine.selectOutputDevice(otherSink);
                }
                break;
            case 2:
                server->unloadModule(other);
                break;
            default:
                engine.refreshOutputDevices();
        }
        QCoreApplication::processEvents();
    }
    std::cout << "a hundred changes in " << timer.elapsed() << " ms" << std::endl;
    EXPECT_LT(timer.elapsed(), 10000);
    EXPECT_TRUE(spinUntil([&] { return engine.outputDevices->size() == 1; }));
    EXPECT_TRUE(spinUntil([&] { return engine.selectedOutputDeviceUID->isEmpty(); }));
    EXPECT_EQ(listening.failures, 0);
    EXPECT_TRUE(*engine.isPlaying);
    EXPECT_TRUE(listening.waitForPosition(listening.position() + 0.5)) << "it still plays";
    engine.pause();
    const double used = idleProcessorUse();
    EXPECT_LT(used, 0.05);
    std::cout << "then idle: " << used * 100 << " % of a processor" << std::endl;
}

INSTANTIATE_TEST_SUITE_P(Servers, DeviceChanges,
                         testing::Values(SoundServerKind::pulseAudio, SoundServerKind::pipeWire),
                         [](const auto& tested) {
                             return tested.param == SoundServerKind::pulseAudio ? "PulseAudio"
                                                                                : "PipeWire";
                         });
