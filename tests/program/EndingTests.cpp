// The program itself, in a home of its own, with a display, a keyboard and a sound server that is
// recorded: it plays, is ended from outside in every way there is, and is started again. What was
// heard tells where it really was.
#include <QElapsedTimer>
#include <QThread>

#include <algorithm>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <sys/stat.h>

#include "platform/settings/Settings.h"
#include "support/Display.h"
#include "support/MediaLibrary.h"
#include "support/SoundServer.h"
#include "support/TemporaryFolder.h"

namespace halvenor::test {
namespace {

using namespace std::chrono_literals;

constexpr int rate = 44100;
constexpr double startPosition = 3;  // seconds into the track
constexpr float volume = 0.5F;       // exact in every sample

bool comesTrue(const std::function<bool()>& condition, std::chrono::milliseconds patience = 20s) {
    QElapsedTimer elapsed;
    elapsed.start();
    while (!condition()) {
        if (elapsed.hasExpired(patience.count())) {
            return false;
        }
        QThread::msleep(5);
    }
    return true;
}

class ProgramTest : public testing::Test {
  protected:
    ProgramTest() {
        home_.makeFolder("lib/album");
        mediaKind("wav s16").write(track(), music_);
        mediaKind("wav s16").write(home_.at("lib/album/2.wav"), music_.part(0, rate));
        Settings settings(settingsFile());
        settings.setPaths("LibraryFolderPaths", {home_.path("lib")});
        settings.setPath("PlayerLastTrackPath", track().path());
        settings.setNumber("PlayerLastPosition", startPosition);
        settings.setNumber("PlayerVolume", volume);
        settings.setString("PlayerRepeatMode", QStringLiteral("all"));
        settings.setBoolean("IsShuffleEnabled", true);
    }

    FileUrl track() const { return home_.at("lib/album/1.wav"); }
    FileUrl settingsFile() const { return home_.at("Halvenor/settings.json"); }
    double storedPosition() const {
        return Settings(settingsFile()).number("PlayerLastPosition").value_or(-1);
    }
    ino_t settingsInode() const {
        struct stat status = {};
        return ::stat(settingsFile().path().constData(), &status) == 0 ? status.st_ino : 0;
    }

    /// @param before what the shell is to do before it becomes the program
    void start(const std::string& before = "true") {
        const std::string home = home_.url().path().toStdString();
        auto environment = display_.environment();
        for (const char* name : {"HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME",
                                 "XDG_CACHE_HOME", "XDG_STATE_HOME"}) {
            environment[name] = home;
        }
        // No bus: an empty address would have one started for the display.
        environment["DBUS_SESSION_BUS_ADDRESS"] = "disabled:";
        // The desktop's libraries leave some memory behind, which would count as a failure.
        environment["ASAN_OPTIONS"] = "detect_leaks=0";
        program_ =
            ChildProcess({.command = {"sh", "-c", before + "; exec \"$0\"", HALVENOR_PROGRAM},
                          .environment = environment});
        recorder_.emplace(server_);
    }
    void press(const char* key) { ASSERT_TRUE(display_.press("Halvenor", key)); }
    /// Presses play, again if that was before the track was there, and lets it play.
    void playUntil(double position) {
        const double before = storedPosition();
        bool hasMoved = false;
        for (int presses = 0; presses < 4 && !hasMoved; ++presses) {
            press("space");
            hasMoved = comesTrue([&] { return storedPosition() > before; }, 5s);
        }
        ASSERT_TRUE(comesTrue([&] { return storedPosition() >= position; }));
    }
    void send(int signal) { ASSERT_TRUE(program_.send(signal)); }
    void expectOrderlyEnd() { EXPECT_EQ(program_.waitFor(20s), 0); }

    /// Ends the recording, which must hold the track from `position` on and nothing else. (Silence
    /// in between is not looked at: a busy machine is slow to render.)
    /// @return the seconds that were heard
    double secondsHeardFrom(double position) {
        const auto begin = static_cast<int64_t>(position * rate);
        std::vector<float> expected = music_.part(begin, music_.frames() - begin).samples;
        std::ranges::transform(expected, expected.begin(), [](float s) { return s * volume; });
        const Comparison result = compare(expected, recorder_->finish(), music_.channels);
        EXPECT_EQ(result.repeated + result.changed + result.excess, 0) << result.text();
        return static_cast<double>(result.matched) / rate;
    }

    void expectSettingsKept() {
        const Settings settings(settingsFile());
        EXPECT_EQ(settings.path("PlayerLastTrackPath"), track().path());
        EXPECT_EQ(settings.number("PlayerVolume"), volume);
        EXPECT_EQ(settings.string("PlayerRepeatMode"), QStringLiteral("all"));
        EXPECT_EQ(settings.boolean("IsShuffleEnabled"), true);
    }

    TemporaryFolder home_;
    Signal music_ = makeSignal(int64_t{30} * rate);
    Display display_;
    SoundServer server_;
    std::optional<SoundRecorder> recorder_;
    ChildProcess program_;
};

class EndedBy : public ProgramTest, public testing::WithParamInterface<std::vector<int>> {};

TEST_P(EndedBy, signalsItSavesEverythingAndGoesOnThereTheNextTime) {
    start();
    playUntil(startPosition + 0.5);
    for (const int signal : GetParam()) {
        send(signal);
    }
    expectOrderlyEnd();
    const double position = storedPosition();
    const double heard = startPosition + secondsHeardFrom(startPosition);
    EXPECT_NEAR(position, heard, 0.1);
    RecordProperty("millisecondsOff", static_cast<int>(1000 * (heard - position)));
    expectSettingsKept();

    start();
    playUntil(position + 0.5);
    send(SIGTERM);
    expectOrderlyEnd();
    EXPECT_GT(secondsHeardFrom(position), 0.4) << "it goes on at the very frame";
    expectSettingsKept();
}

INSTANTIATE_TEST_SUITE_P(Signals, EndedBy,
                         testing::Values(std::vector{SIGTERM}, std::vector{SIGINT},
                                         std::vector{SIGHUP},
                                         std::vector{SIGTERM, SIGHUP, SIGTERM, SIGINT}),
                         [](const auto& one) {
                             return one.param.size() > 1 ? std::string("many")
                                                         : sigabbrev_np(one.param[0]);
                         });

TEST_F(ProgramTest, killedItHasLostASecondAtMostAndHadWrittenOnceASecond) {
    start();
    playUntil(startPosition + 0.1);
    QElapsedTimer sinceWrite;
    ino_t last = settingsInode();
    for (int writes = 0; writes < 4; ++writes) {
        ASSERT_TRUE(comesTrue([&] { return settingsInode() != last; }));
        last = settingsInode();
        if (writes > 0) {
            EXPECT_NEAR(sinceWrite.elapsed(), 1010, 30);
        }
        sinceWrite.start();
    }
    QThread::msleep(900);  // What was written is as old as it gets.
    ASSERT_EQ(settingsInode(), last);
    program_.kill();
    const double position = storedPosition();
    const double lost = startPosition + secondsHeardFrom(startPosition) - position;
    EXPECT_LT(lost, 1.1);
    EXPECT_GT(lost, 0.5);
    RecordProperty("millisecondsLost", static_cast<int>(1000 * lost));
    expectSettingsKept();

    start();
    playUntil(position + 0.5);
    send(SIGTERM);
    expectOrderlyEnd();
    EXPECT_GT(secondsHeardFrom(position), 0.4);
}

TEST_F(ProgramTest, mutedItStaysMutedAndKeepsItsVolume) {
    start();
    press("m");
    playUntil(startPosition + 0.5);
    send(SIGTERM);
    expectOrderlyEnd();
    EXPECT_EQ(secondsHeardFrom(startPosition), 0);
    EXPECT_EQ(Settings(settingsFile()).boolean("PlayerIsMuted"), true);
    expectSettingsKept();

    start();
    playUntil(storedPosition() + 0.5);
    EXPECT_EQ(secondsHeardFrom(startPosition), 0);
    press("m");
    ASSERT_TRUE(
        comesTrue([&] { return Settings(settingsFile()).boolean("PlayerIsMuted") == false; }));
    send(SIGTERM);
    expectOrderlyEnd();
    expectSettingsKept();
}

TEST_F(ProgramTest, itOutlivesItsTerminalWhereItWasToldTo) {
    start("trap '' HUP");
    playUntil(startPosition + 0.1);
    send(SIGHUP);
    EXPECT_EQ(program_.waitFor(500ms), std::nullopt);
    send(SIGTERM);
    expectOrderlyEnd();
}

}  // namespace
}  // namespace halvenor::test
