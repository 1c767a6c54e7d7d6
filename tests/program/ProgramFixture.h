#pragma once

#include <QElapsedTimer>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <optional>
#include <string>
#include <sys/stat.h>

#include "platform/settings/Settings.h"
#include "support/Display.h"
#include "support/MediaLibrary.h"
#include "support/SoundServer.h"
#include "support/TemporaryFolder.h"

namespace halvenor::test {

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

/// The program itself, in a home of its own, with a display, a keyboard and a sound server that is
/// recorded. A track of half a minute is remembered, three seconds into it; a short one follows.
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

    std::map<std::string, std::string> environment() const {
        const std::string home = home_.url().path().toStdString();
        auto environment = display_.environment();
        for (const char* name : {"HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME",
                                 "XDG_CACHE_HOME", "XDG_STATE_HOME"}) {
            environment[name] = home;
        }
        // No bus: an empty address would have one started for the display.
        environment["DBUS_SESSION_BUS_ADDRESS"] = busAddress_;
        // The desktop's libraries leave some memory behind, which would count as a failure.
        environment["ASAN_OPTIONS"] = "detect_leaks=0";
        return environment;
    }
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
    void press(const char* key) { ASSERT_TRUE(display_.press("Halvenor", key)); }
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
    void send(int signal) { ASSERT_TRUE(program_.send(signal)); }
    void expectOrderlyEnd() { EXPECT_EQ(program_.waitFor(std::chrono::seconds(20)), 0); }

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
    std::string busAddress_ = "disabled:";
    Signal music_ = makeSignal(int64_t{30} * rate);
    Display display_;
    SoundServer server_;
    std::optional<SoundRecorder> recorder_;
    ChildProcess program_;
};

}  // namespace halvenor::test
