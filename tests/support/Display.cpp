#include "support/Display.h"

#include <QTemporaryDir>

#include <chrono>
#include <fstream>
#include <functional>
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

int Display::xdotool(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "xdotool");
    return ChildProcess({.command = arguments, .environment = environment()}).wait();
}

bool Display::press(const std::string& windowTitle, const std::string& key) const {
    return waitFor([&] {
        return xdotool({"search", "--onlyvisible", "--name", "^" + windowTitle + "$", "windowfocus",
                        "--sync", "key", key}) == 0;
    });
}

}  // namespace halvenor::test
