#include "support/XServer.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>

namespace halvenor::bench {

namespace {

using namespace std::chrono_literals;

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

// The server chooses a free display and writes its number into `file` once it answers.
std::string displayIn(const std::string& file) {
    for (int attempt = 0; attempt < 500; ++attempt) {
        std::ifstream reader(file);
        std::string number;
        if (std::getline(reader, number) && !reader.eof()) {
            return ":" + number;
        }
        std::this_thread::sleep_for(20ms);
    }
    throw std::runtime_error("no X server came up");
}

}  // namespace

XServer::XServer() : connection_(nullptr, &xcb_disconnect) {
    std::string folder = std::filesystem::temp_directory_path() / "display-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) {
        throw std::runtime_error("no temporary folder can be made");
    }
    const std::string file = folder + "/number";
    test::ChildProcess::Setup setup;
    setup.command = {"Xvfb", "-displayfd", "1", "-screen", "0", "1280x800x24", "-nolisten", "tcp"};
    setup.outputFile = file;
    process_ = test::ChildProcess(setup);
    const std::string display = displayIn(file);
    std::filesystem::remove_all(folder);
    setenv("DISPLAY", display.c_str(), 1);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    connection_.reset(xcb_connect(display.c_str(), nullptr));
    if (xcb_connection_has_error(connection_.get()) != 0) {
        throw std::runtime_error("the X server does not answer");
    }
}

uint32_t XServer::pixel(int16_t x, int16_t y) const {
    xcb_connection_t* connection = connection_.get();
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const auto cookie =
        xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, root, x, y, 1, 1, 0xFFFFFFFF);
    const std::unique_ptr<xcb_get_image_reply_t, Free> reply(
        xcb_get_image_reply(connection, cookie, nullptr));
    uint32_t value = 0;
    if (reply) {
        std::memcpy(&value, xcb_get_image_data(reply.get()), sizeof value);
    }
    return value & 0xFFFFFF;
}

}  // namespace halvenor::bench
