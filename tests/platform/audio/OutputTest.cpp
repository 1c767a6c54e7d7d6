// The real outputs in real time: the sound server's, with a private server whose sink is recorded,
// and the silent one.
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QThread>

#include <atomic>
#include <gmock/gmock.h>

#include "base/Error.h"
#include "platform/audio/AudioEngine.h"
#include "platform/audio/Outputs.h"
#include "platform/audio/PlayerNode.h"
#include "support/EventLoop.h"
#include "support/MemoryFile.h"
#include "support/SoundServer.h"

using namespace halvenor;
using namespace halvenor::test;
using namespace std::chrono_literals;

namespace {

constexpr AudioFormat cd{44100, 2};

/// A node on the sound server.
struct Player {
    Player() : engine(makeSystemOutput(QStringLiteral("Halvenor")), node) {}

    void schedule(const std::shared_ptr<AudioFile>& file) {
        ++scheduled;
        node.scheduleFile(file, [this](CompletionCallbackType) { ++completed; });
    }
    void start() {
        engine.start();
        node.play();
    }
    /// Plays this, until a frame of it was heard.
    void play(const std::shared_ptr<AudioFile>& file, int64_t until) {
        schedule(file);
        start();
        ASSERT_TRUE(waitForFrame(until));
    }
    int64_t position() const { return *node.sampleTime(); }
    /// Waits until every handler was called. @return whether they were
    bool waitForEnd() {
        return spinUntil([this] { return completed == scheduled; }, 10s);
    }
    /// Waits until frame `frame` was heard.
    bool waitForFrame(int64_t frame) {
        return spinUntil([&] { return node.sampleTime().value_or(0) >= frame; }, 5s);
    }

    int scheduled = 0;
    std::atomic<int> completed = 0;
    PlayerNode node;
    AudioEngine engine;
};

struct SystemOutput : testing::Test {
    SoundServer server;
    Player player;
};

}  // namespace

TEST(NoSystemOutput, SaysSoWhenThereIsNoServer) {
    const QTemporaryDir nowhere;
    qputenv("PULSE_SERVER", "unix:" + nowhere.path().toUtf8() + "/socket");
    Player player;
    QElapsedTimer timer;
    timer.start();
    try {
        player.engine.start();
        ADD_FAILURE() << "no server, and yet it started";
    } catch (const Error& error) {
        EXPECT_EQ(error.kind(), ErrorKind::unavailable);
        EXPECT_EQ(error.text(), QStringLiteral("No sound server is running."));
    }
    EXPECT_LT(timer.elapsed(), 5000) << "it waits for nobody";
    EXPECT_FALSE(player.engine.isRunning());
    qunsetenv("PULSE_SERVER");

    const SoundServer server;
    player.engine.start();
    EXPECT_EQ(player.node.outputSampleRate(), 44100) << "the next attempt finds a new server";
}

TEST(AnySystemOutput, PlaysFilesBitForBitAndStopsNothingBetweenThem) {
    for (const AudioFormat format : {cd, AudioFormat{48000, 2}}) {
        SoundServer server(format);
        ASSERT_TRUE(server.isRunning());
        const std::vector<std::shared_ptr<MemoryFile>> files = {
            makeNoise(format, 20001, 1), makeNoise(format, 1, 2), makeNoise(format, 39999, 3)};
        SoundRecorder recorder(server);
        Player player;
        for (const auto& file : files) {
            player.schedule(file);
        }
        player.start();
        ASSERT_TRUE(player.waitForEnd());
        const Comparison result = compare(concatenation(files), recorder.finish(), 2);
        EXPECT_TRUE(result.isExact(60001)) << result.text();
    }
}

TEST_F(SystemOutput, LosesNothingInAPauseAndStopsAtOnce) {
    const auto file = makeNoise(cd, 44100 * 2, 1);
    SoundRecorder recorder(server);
    player.schedule(file);
    player.start();
    for (const int64_t frame : {15000, 40000}) {
        ASSERT_TRUE(player.waitForFrame(frame));
        player.node.pause();
        const auto paused = player.node.sampleTime();
        QThread::msleep(150);
        EXPECT_EQ(player.node.sampleTime(), paused);
        player.node.play();
    }
    ASSERT_TRUE(player.waitForEnd());
    const Comparison result = compare(file->samples(), recorder.finish(), 2);
    EXPECT_EQ(result.matched, file->frames()) << result.text();
    EXPECT_EQ(result.lost + result.repeated + result.excess, 0) << result.text();
    EXPECT_EQ(result.gaps, 2) << result.text();

    // A stop and a new start, as a seek does it: the old sound is cut off, the new one is whole.
    const auto before = makeNoise(cd, 44100 * 5, 2);
    const auto after = makeNoise(cd, 20000, 3);
    SoundRecorder second(server);
    player.node.stop();
    player.play(before, 10000);
    const int64_t position = player.position();
    player.node.stop();
    player.schedule(after);
    player.node.play();
    ASSERT_TRUE(player.waitForEnd());
    const Comparison whole = compare(concatenation({before, after}), second.finish(), 2);
    // Everything of the second file, and of the first no more than was heard and what the device
    // had in hand.
    const int64_t cut = before->frames() - whole.lost;
    EXPECT_EQ(whole.matched, cut + after->frames()) << whole.text();
    EXPECT_NEAR(static_cast<double>(cut), static_cast<double>(position), 44100 * 0.12);
}

// What was heard of a change of volume from 1 to 1/2, in frames of the file.
struct HeardRamp {
    int64_t asked = -1;
    int64_t first = -1;
    int64_t last = -1;
    int64_t length() const { return last - first; }
};

void hearVolumeChange(SoundServer& server, HeardRamp& heardRamp) {
    const auto file = makeNoise(cd, 44100 * 2, 1);
    SoundRecorder recorder(server);
    Player player;
    player.play(file, 22050);
    player.node.setVolume(0.5F);
    heardRamp.asked = player.position();
    ASSERT_TRUE(player.waitForEnd());
    const std::vector<float> recording = recorder.finish();

    // Each frame is in its place, with a gain between the two.
    const int64_t leadIn = leadInOf(recording, 2);
    ASSERT_GE(leadIn, 0);
    ASSERT_GE(recording.size(), (leadIn + file->frames()) * 2);
    const float* heard = recording.data() + leadIn * 2;
    for (int64_t i = 0; i < file->frames() * 2; ++i) {
        const float sample = file->samples()[i];
        const float ratio = sample == 0 ? 1 : heard[i] / sample;
        ASSERT_TRUE(ratio > 0.499F && ratio < 1.001F) << "frame " << i / 2 << " " << ratio;
        if (heardRamp.first < 0 && ratio < 0.999F) {
            heardRamp.first = i / 2;
        }
        if (heardRamp.first >= 0 && ratio > 0.501F && sample != 0) {
            heardRamp.last = i / 2;
        }
    }
}

TEST_F(SystemOutput, ChangesTheVolumeSoonAndInPlace) {
    // What is written again may reach a server on a busy machine too late to be heard from its
    // beginning. Then the ramp is cut short, never longer.
    constexpr int64_t rampFrames = 441;
    HeardRamp ramp;
    for (int round = 0; round < 4 && ramp.length() < rampFrames - 5; ++round) {
        ramp = HeardRamp();
        hearVolumeChange(server, ramp);
        ASSERT_FALSE(HasFatalFailure());
        EXPECT_NEAR(static_cast<double>(ramp.first), static_cast<double>(ramp.asked), 44100 * 0.25);
        EXPECT_LE(ramp.length(), rampFrames + 5);
    }
    EXPECT_GE(ramp.length(), rampFrames - 5);
}

TEST_F(SystemOutput, GoesOnWhereItWasWhenTheServerComesBack) {
    const auto file = makeNoise(cd, 44100 * 3, 1);
    auto recorder = std::make_unique<SoundRecorder>(server);
    player.play(file, 44100);
    const int64_t before = player.position();
    server.kill();
    QThread::msleep(100);
    const int64_t lost = player.position();
    EXPECT_NEAR(static_cast<double>(lost), static_cast<double>(before), 44100 * 0.1);
    QThread::msleep(100);
    EXPECT_EQ(player.node.sampleTime(), lost) << "the position waits for the server";
    recorder.reset();
    server.start();
    SoundRecorder second(server);
    ASSERT_TRUE(player.waitForEnd());
    const std::vector<float> rest(file->samples().begin() + lost * 2, file->samples().end());
    const Comparison result = compare(rest, second.finish(), 2);
    // The recorder may have come a moment after the first frames.
    EXPECT_EQ(result.repeated + result.excess + result.gaps, 0) << result.text();
    EXPECT_EQ(result.matched + result.lost, file->frames() - lost) << result.text();
    EXPECT_LT(result.lost, 44100);
}

TEST_F(SystemOutput, JoinsAFileThatComesInTheLastMoment) {
    const auto first = makeNoise(cd, 44100, 1);
    const auto second = makeNoise(cd, 15001, 2);
    SoundRecorder recorder(server);
    // By then the silence that follows a last file is in the server's buffer.
    player.play(first, 44100 * 82 / 100);
    player.schedule(second);
    ASSERT_TRUE(player.waitForEnd());
    const Comparison result = compare(concatenation({first, second}), recorder.finish(), 2);
    EXPECT_TRUE(result.isExact(59101)) << result.text();
}

TEST_F(SystemOutput, TellsWhenTheServerComesBackInAnotherFormat) {
    bool isChanged = false;
    player.engine.onConfigurationChange = [&] { isChanged = true; };
    player.play(makeNoise(cd, 44100 * 10, 1), 10000);
    server.kill();
    server.start({48000, 2});
    ASSERT_TRUE(spinUntil([&] { return isChanged; }, 5s));
    const double seconds = static_cast<double>(player.position()) / 44100;
    player.engine.stop();
    player.engine.start();
    EXPECT_EQ(player.node.outputSampleRate(), 48000);
    player.node.play();
    EXPECT_NEAR(static_cast<double>(player.position()) / 48000, seconds, 0.1);
    EXPECT_TRUE(player.waitForFrame(player.position() + 5000)) << "it goes on";
}

TEST_F(SystemOutput, TellsThePositionThatIsHeard) {
    const auto file = makeNoise(cd, 44100 * 3, 1);
    SoundRecorder recorder(server);
    player.play(file, 8000);
    const int64_t recordedBefore = recorder.frames();
    const int64_t heardBefore = player.position();
    int64_t last = heardBefore;
    QElapsedTimer sinceLast;
    sinceLast.start();
    for (int i = 0; i < 100; ++i) {
        QThread::msleep(10);
        const int64_t now = player.position();
        ASSERT_GE(now, last);
        ASSERT_LT(now - last, 44100 / 1000 * (sinceLast.restart() + 90)) << "no jumps";
        last = now;
    }
    const int64_t recordedAfter = recorder.frames();
    const Comparison result = compare(file->samples(), recorder.finish(), 2);
    // What the recorder has got lies behind by the monitor's blocks.
    EXPECT_NEAR(static_cast<double>(heardBefore),
                static_cast<double>(recordedBefore - result.leadIn), 44100 * 0.15);
    EXPECT_NEAR(static_cast<double>(last), static_cast<double>(recordedAfter - result.leadIn),
                44100 * 0.15);
}

TEST(SilentOutput, KeepsRealTime) {
    PlayerNode node;
    AudioEngine engine(makeSilentOutput({48000, 2}), node);
    std::atomic<int> completed = 0;
    node.scheduleFile(makeNoise(cd, 44100 * 2, 1), [&](CompletionCallbackType) { ++completed; });
    engine.start();
    node.waitUntilIdle();
    QElapsedTimer timer;
    timer.start();
    node.play();
    QThread::msleep(800);
    EXPECT_NEAR(static_cast<double>(*node.sampleTime()),
                48.0 * static_cast<double>(timer.elapsed()), 48 * 400);
    node.pause();
    const int64_t paused = *node.sampleTime();
    QThread::msleep(60);
    EXPECT_EQ(node.sampleTime(), paused);
    EXPECT_EQ(completed, 0);
    node.play();
    timer.start();
    EXPECT_TRUE(spinUntil([&] { return completed == 1; }, 5s));
    EXPECT_NEAR(static_cast<double>(timer.elapsed()), static_cast<double>(96000 - paused) / 48,
                400);
    EXPECT_EQ(node.sampleTime(), 96000);
}
