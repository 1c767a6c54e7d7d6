#include "support/XServer.h"

#include <QFile>
#include <QTemporaryDir>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace halvenor::bench {

namespace {

using namespace std::chrono_literals;

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

// The server chooses a free display and writes its number into `file` once it answers.
QByteArray displayIn(const QString& file) {
    for (int attempt = 0; attempt < 500; ++attempt) {
        QFile reader(file);
        if (reader.open(QIODevice::ReadOnly)) {
            const QByteArray line = reader.readAll();
            if (line.endsWith('\n')) {
                return ":" + line.trimmed();
            }
        }
        std::this_thread::sleep_for(20ms);
    }
    throw std::runtime_error("no X server came up");
}

}  // namespace

XServer::XServer() : connection_(nullptr, &xcb_disconnect) {
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("display"));
    test::ChildProcess::Setup setup;
    setup.command = {"Xvfb", "-displayfd", "1", "-screen", "0", "1280x800x24", "-nolisten", "tcp"};
    setup.outputFile = file.toStdString();
    process_ = test::ChildProcess(setup);
    const QByteArray display = displayIn(file);
    qputenv("DISPLAY", display);
    qputenv("QT_QPA_PLATFORM", "xcb");
    connection_.reset(xcb_connect(display.constData(), nullptr));
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
