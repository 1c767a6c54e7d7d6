#include "support/Display.h"

#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <thread>

#include "support/Programs.h"

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

Display::Display(int width, int height) {
    const QTemporaryDir directory;
    const std::string file = directory.filePath(QStringLiteral("number")).toStdString();
    server_ =
        ChildProcess({.command = {"Xvfb", "-displayfd", "1", "-screen", "0",
                                  std::to_string(width) + "x" + std::to_string(height) + "x24",
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
    // The first key changes the server's keyboard, upon which a window manager lets go of its keys
    // for a moment and would miss one.
    xdotool({"key", "Shift_L"});
}

std::map<std::string, std::string> Display::environment() const {
    return {{"DISPLAY", name_}, {"QT_QPA_PLATFORM", "xcb"}, {"WAYLAND_DISPLAY", ""}};
}

int Display::xdotool(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "xdotool");
    return ChildProcess({.command = arguments, .environment = environment()}).wait();
}

std::string Display::output(const std::vector<std::string>& command) const {
    return runToEnd({.command = command, .environment = environment()}).output.toStdString();
}

bool Display::focus(const std::string& windowTitle) const {
    return waitFor([&] {
        return xdotool({"search", "--onlyvisible", "--name", "^" + windowTitle + "$", "windowfocus",
                        "--sync"}) == 0;
    });
}

bool Display::type(const std::string& text) const {
    return xdotool({"type", "--delay", "4", text}) == 0;
}

bool Display::pressKeyAt(const std::string& windowTitle, int keyCode) const {
    return focus(windowTitle) && xdotool({"key", std::to_string(keyCode)}) == 0;
}

void Display::setKeyboardLayout(const std::string& layout) const {
    ChildProcess({.command = {"setxkbmap", layout}, .environment = environment()}).wait();
}

bool Display::click(const std::string& windowTitle, int x, int y, int times, int button) const {
    return waitFor([&] {
               return xdotool({"search", "--onlyvisible", "--name", "^" + windowTitle + "$",
                               "mousemove", "--window", "%1", std::to_string(x),
                               std::to_string(y)}) == 0;
           }) &&
           xdotool({"click", "--repeat", std::to_string(times), "--delay", "60",
                    std::to_string(button)}) == 0;
}

std::string Display::windowId(const std::string& windowTitle) const {
    const std::string found =
        output({"xdotool", "search", "--onlyvisible", "--name", "^" + windowTitle + "$"});
    return found.substr(0, found.find('\n'));
}

int Display::widthOf(const std::string& windowTitle) const {
    const std::string geometry =
        output({"xdotool", "getwindowgeometry", "--shell", windowId(windowTitle)});
    const size_t at = geometry.find("WIDTH=");
    return at == std::string::npos ? 0 : std::atoi(geometry.c_str() + at + 6);
}

// While it starts, it may overlook a window that comes; its mark on the root window is earlier.
void Display::startWindowManager() {
    const QTemporaryDir directory;
    const std::string file = directory.filePath(QStringLiteral("ready")).toStdString();
    windowManager_ =
        ChildProcess({.command = {"openbox", "--sm-disable", "--startup", "touch " + file},
                      .environment = environment()});
    if (!waitFor([&] { return std::ifstream(file).is_open(); })) {
        throw std::runtime_error("no window manager came up");
    }
}

int Display::windowCount(const std::string& windowTitle) const {
    const std::string found =
        output({"xdotool", "search", "--onlyvisible", "--name", "^" + windowTitle + "$"});
    return static_cast<int>(std::ranges::count(found, '\n'));
}

bool Display::close(const std::string& windowTitle) const {
    return press(windowTitle, "alt+F4");
}

void Display::minimise(const std::string& windowTitle) const {
    xdotool({"search", "--onlyvisible", "--name", "^" + windowTitle + "$", "windowminimize"});
}

// The key goes to whatever has the keyboard: a window may be gone before it is let go.
bool Display::press(const std::string& windowTitle, const std::string& key) const {
    return focus(windowTitle) && xdotool({"key", key}) == 0;
}

}  // namespace halvenor::test
