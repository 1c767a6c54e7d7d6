#pragma once

#include <QElapsedTimer>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <optional>
#include <string>

#include "platform/settings/Settings.h"
#include "support/BusDaemon.h"
#include "support/Display.h"
#include "support/MediaLibrary.h"
#include "support/Programs.h"
#include "support/SoundServer.h"
#include "support/TemporaryFolder.h"

namespace halvenor::test {

using Variables = std::map<std::string, std::string>;

inline constexpr int rate = 44100;
inline constexpr double startPosition = 3;  // seconds into the track
inline constexpr float volume = 0.5F;       // exact in every sample

inline bool comesTrue(const std::function<bool()>& condition,
                      std::chrono::milliseconds patience = std::chrono::seconds(20)) {
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

/// The program itself, in a home of its own, with a display, a keyboard and a sound server.
class HomeTest : public testing::Test {
  protected:
    explicit HomeTest(int screenWidth = 1280, int screenHeight = 800)
        : display_(screenWidth, screenHeight) {
        for (const char* name : {"HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME",
                                 "XDG_CACHE_HOME", "XDG_STATE_HOME"}) {
            variables_[name] = home_.url().path().toStdString();
        }
        // No bus: an empty address would have one started for the display.
        variables_["DBUS_SESSION_BUS_ADDRESS"] = "disabled:";
        // The desktop's libraries leave some memory behind, which would count as a failure.
        variables_["ASAN_OPTIONS"] = "detect_leaks=0";
    }

    Settings settings() const { return Settings(home_.at("Halvenor/settings.json")); }
    Variables environment() const {
        Variables environment = variables_;
        environment.merge(display_.environment());
        return environment;
    }
    void press(const char* key) { ASSERT_TRUE(display_.press("Halvenor", key)); }
    void pressAll(std::initializer_list<const char*> keys) {
        for (const char* key : keys) {
            press(key);
        }
    }
    bool appears(const std::string& windowTitle = "Halvenor") const {
        return comesTrue([&] { return display_.isShown(windowTitle); });
    }
    bool vanishes(const std::string& windowTitle = "Halvenor") const {
        return comesTrue([&] { return !display_.isShown(windowTitle); });
    }
    void send(int signal) { ASSERT_TRUE(program_.send(signal)); }
    void expectOrderlyEnd() { EXPECT_EQ(program_.waitFor(std::chrono::seconds(20)), 0); }
    void end() {
        send(SIGTERM);
        expectOrderlyEnd();
    }

    /// Runs the program once more, which hands over to the one that runs.
    ProgramResult launchAgain(const std::vector<std::string>& places = {}) const {
        std::vector<std::string> command = {"timeout", "20", HALVENOR_PROGRAM};
        command.insert(command.end(), places.begin(), places.end());
        return runToEnd({.command = command, .environment = environment()});
    }

    /// Starts a session bus, through which users ask the program what plays.
    void startBus() {
        bus_.emplace();
        variables_["DBUS_SESSION_BUS_ADDRESS"] = bus_->address().toStdString();
    }
    /// What playerctl prints; it is the only client that people use from a shell.
    std::string playerctl(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"timeout", "20", "playerctl", "-p", "halvenor"});
        return runToEnd({.command = arguments, .environment = environment()})
            .output.trimmed()
            .toStdString();
    }
    bool becomes(const std::vector<std::string>& question, const std::string& answer) const {
        return comesTrue([&] { return playerctl(question) == answer; });
    }

    TemporaryFolder home_;
    Variables variables_;
    std::optional<BusDaemon> bus_;
    Display display_;
    SoundServer server_;
    ChildProcess program_;
};

/// The same with music: a track of half a minute is remembered, three seconds into it; a short one
/// follows. What the sound server plays is recorded.
class ProgramTest : public HomeTest {
  protected:
    ProgramTest() {
        home_.makeFolder("lib/album");
        mediaKind("wav s16").write(track(), music_);
        mediaKind("wav s16").write(home_.at("lib/album/2.wav"), music_.part(0, rate));
        Settings stored = settings();
        stored.setPaths("LibraryFolderPaths", {home_.path("lib")});
        stored.setPath("PlayerLastTrackPath", track().path());
        stored.setNumber("PlayerLastPosition", startPosition);
        stored.setNumber("PlayerVolume", volume);
        stored.setString("PlayerRepeatMode", QStringLiteral("all"));
        stored.setBoolean("IsShuffleEnabled", true);
    }

    FileUrl track() const { return home_.at("lib/album/1.wav"); }
    double storedPosition() const { return settings().number("PlayerLastPosition").value_or(-1); }
    /// @param before what the shell is to do before it becomes the program
    void start(const std::string& before = "true") {
        if (!server_.isRunning()) {
            std::cerr << "The sound server has ended by itself; here is another." << std::endl;
            server_.start();
        }
        program_ =
            ChildProcess({.command = {"sh", "-c", before + "; exec \"$0\"", HALVENOR_PROGRAM},
                          .environment = environment()});
        recorder_.emplace(server_);
    }
    /// Presses play, again if that was before the track was there, and lets it play.
    void playUntil(double position) {
        const double before = storedPosition();
        bool hasMoved = false;
        for (int presses = 0; presses < 4 && !hasMoved; ++presses) {
            press("space");
            hasMoved =
                comesTrue([&] { return storedPosition() > before; }, std::chrono::seconds(5));
        }
        ASSERT_TRUE(comesTrue([&] { return storedPosition() >= position; }))
            << (server_.isRunning() ? "the sound server runs" : "the sound server has ended");
    }

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
        const Settings stored = settings();
        EXPECT_EQ(stored.path("PlayerLastTrackPath"), track().path());
        EXPECT_EQ(stored.number("PlayerVolume"), volume);
        EXPECT_EQ(stored.string("PlayerRepeatMode"), QStringLiteral("all"));
        EXPECT_EQ(stored.boolean("IsShuffleEnabled"), true);
    }

    Signal music_ = makeSignal(int64_t{30} * rate);
    std::optional<SoundRecorder> recorder_;
};

/// The same with a window manager.
class DesktopTest : public ProgramTest {
  protected:
    DesktopTest() { display_.startWindowManager(); }

    // The place is saved once a second while music plays; it is smaller again in the next track.
    bool isPlayingOn() {
        const double before = storedPosition();
        return comesTrue([&] { return storedPosition() != before; });
    }
};

/// The same with a session bus.
class MediaKeyTest : public DesktopTest {
  protected:
    MediaKeyTest() { startBus(); }

    std::string urlOf(const char* name) const {
        return home_.at("lib/album").appendingPathComponent(name).encoded().toStdString();
    }
};

}  // namespace halvenor::test
