#pragma once

#include <fstream>

#include "program/ProgramFixture.h"
#include "support/BusDaemon.h"

namespace halvenor::test {

/// The program with a window manager.
class DesktopTest : public ProgramTest {
  protected:
    DesktopTest() { display_.startWindowManager(); }

    int launchAgain() {
        return ChildProcess({.command = {HALVENOR_PROGRAM}, .environment = environment()})
            .waitFor(std::chrono::seconds(20))
            .value_or(-2);
    }
    // The place is saved once a second while music plays; it is smaller again in the next track.
    bool isPlayingOn() {
        const double before = storedPosition();
        return comesTrue([&] { return storedPosition() != before; });
    }
};

/// The same with a session bus, through which its user asks what plays.
class MediaKeyTest : public DesktopTest {
  protected:
    MediaKeyTest() { busAddress_ = bus_.address().toStdString(); }

    /// What playerctl prints; it is the only client that people use from a shell.
    std::string playerctl(std::vector<std::string> arguments) {
        const std::string file = home_.path("playerctl.out").toStdString();
        arguments.insert(arguments.begin(), {"playerctl", "-p", "halvenor"});
        ChildProcess({.command = arguments, .environment = environment(), .outputFile = file})
            .waitFor(std::chrono::seconds(20));
        std::ifstream reader(file);
        std::string line;
        std::getline(reader, line);
        return line;
    }
    bool becomes(const std::vector<std::string>& question, const std::string& answer) {
        return comesTrue([&] { return playerctl(question) == answer; });
    }

    std::string urlOf(const char* name) const {
        return home_.at("lib/album").appendingPathComponent(name).encoded().toStdString();
    }

    BusDaemon bus_;
};

}  // namespace halvenor::test
