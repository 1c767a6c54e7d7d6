#include "support/Display.h"

#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <thread>

namespace halvenor::test {

namespace {

using namespace std::chrono_literals;

bool waitFor(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + 20s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(20ms);
    }
    return true;
}

}  // namespace

Display::Display() {
    const QTemporaryDir directory;
    const std::string file = directory.filePath(QStringLiteral("number")).toStdString();
    server_ = ChildProcess({.command = {"Xvfb", "-displayfd", "1", "-screen", "0", "1280x800x24",
                                        "-nolisten", "tcp", "-noreset"},
                            .outputFile = file});
    // The server chooses a free display and writes a whole line once it answers.
    const bool isThere = waitFor([&] {
        std::ifstream reader(file);
        std::string number;
        const bool isWhole = std::getline(reader, number) && !reader.eof();
        name_ = ":" + number;
        return isWhole;
    });
    if (!isThere) {
        throw std::runtime_error("no X server came up");
    }
}

std::map<std::string, std::string> Display::environment() const {
    return {{"DISPLAY", name_}, {"QT_QPA_PLATFORM", "xcb"}, {"WAYLAND_DISPLAY", ""}};
}

int Display::xdotool(std::vector<std::string> arguments, const std::string& outputFile) const {
    arguments.insert(arguments.begin(), "xdotool");
    return ChildProcess(
               {.command = arguments, .environment = environment(), .outputFile = outputFile})
        .wait();
}

void Display::startWindowManager() {
    windowManager_ =
        ChildProcess({.command = {"openbox", "--sm-disable"}, .environment = environment()});
    // It has put its mark on the root window when it is ready.
    waitFor([&] {
        return ChildProcess({.command = {"sh", "-c",
                                         "xprop -root _NET_SUPPORTING_WM_CHECK | grep -q window"},
                             .environment = environment()})
                   .wait() == 0;
    });
}

int Display::windowCount(const std::string& windowTitle) const {
    const QTemporaryDir directory;
    const std::string file = directory.filePath(QStringLiteral("windows")).toStdString();
    xdotool({"search", "--onlyvisible", "--name", "^" + windowTitle + "$"}, file);
    std::ifstream reader(file);
    return static_cast<int>(
        std::count(std::istreambuf_iterator<char>(reader), std::istreambuf_iterator<char>(), '\n'));
}

// The keys go to whatever has the focus: the window is gone before they are let go.
bool Display::close(const std::string& windowTitle) const {
    return waitFor([&] {
        return xdotool({"search", "--onlyvisible", "--name", "^" + windowTitle + "$", "windowfocus",
                        "--sync"}) == 0 &&
               xdotool({"key", "alt+F4"}) == 0;
    });
}

void Display::minimise(const std::string& windowTitle) const {
    xdotool({"search", "--onlyvisible", "--name", "^" + windowTitle + "$", "windowminimize"});
}

bool Display::press(const std::string& windowTitle, const std::string& key) const {
    return waitFor([&] {
        return xdotool({"search", "--onlyvisible", "--name", "^" + windowTitle + "$", "windowfocus",
                        "--sync", "key", key}) == 0;
    });
}

}  // namespace halvenor::test
