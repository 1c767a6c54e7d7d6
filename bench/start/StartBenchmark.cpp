// Time from exec to the painted window, and memory at rest, of the player with an empty library
// beside those of an empty Qt window: real programs on a private X server, taken in turn.
//
// Painted means that a pixel in the middle of the screen, where the window comes to stand, has left
// the colour of the root window. Memory is the proportional set size (PSS) after two quiet seconds.
//
// Usage: bench_start PLAYER EMPTY-WINDOW
#include <QByteArray>
#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>
#include <xcb/xcb.h>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr int rounds = 15;

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

class XServer {
  public:
    XServer() {
        process_.setProcessChannelMode(QProcess::SeparateChannels);
        process_.start(
            QStringLiteral("Xvfb"),
            {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
             QStringLiteral("0"), QStringLiteral("1280x800x24"), QStringLiteral("-nolisten"),
             QStringLiteral("tcp")});
        while (!process_.canReadLine() && process_.waitForReadyRead(10000)) {
        }
        display_ = ":" + process_.readLine().trimmed();
        connection_ = xcb_connect(display_.constData(), nullptr);
    }
    ~XServer() {
        xcb_disconnect(connection_);
        process_.terminate();
        process_.waitForFinished();
    }
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    const QByteArray& display() const { return display_; }
    bool isReady() const { return xcb_connection_has_error(connection_) == 0; }

    /// One pixel as the screen shows it now.
    uint32_t pixel(int16_t x, int16_t y) const {
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
        const auto cookie = xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, x,
                                          y, 1, 1, 0xFFFFFFFF);
        const std::unique_ptr<xcb_get_image_reply_t, Free> reply(
            xcb_get_image_reply(connection_, cookie, nullptr));
        uint32_t value = 0;
        if (reply) {
            std::memcpy(&value, xcb_get_image_data(reply.get()), sizeof value);
        }
        return value & 0xFFFFFF;
    }

  private:
    QProcess process_;
    QByteArray display_;
    xcb_connection_t* connection_ = nullptr;
};

struct Figures {
    double milliseconds = 0;
    double pssKilobytes = 0;
};

double pssOf(qint64 pid) {
    QFile rollup(QStringLiteral("/proc/%1/smaps_rollup").arg(pid));
    if (!rollup.open(QIODevice::ReadOnly)) {
        return 0;
    }
    for (const QByteArray& line : rollup.readAll().split('\n')) {
        if (line.startsWith("Pss:")) {
            return line.simplified().split(' ').value(1).toDouble();
        }
    }
    return 0;
}

void waitForPixel(const XServer& server, uint32_t background, bool isPainted) {
    const auto limit = Clock::now() + 10s;
    while ((server.pixel(500, 400) != background) != isPainted) {
        if (Clock::now() > limit) {
            std::fprintf(stderr, "no window came\n");
            std::exit(1);
        }
        std::this_thread::sleep_for(200us);
    }
}

Figures measure(const XServer& server, const QString& program, bool withMemory) {
    const QTemporaryDir home;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"}) {
        environment.insert(QString::fromLatin1(name), home.path());
    }
    environment.insert(QStringLiteral("DISPLAY"), QString::fromLatin1(server.display()));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setStandardErrorFile(QProcess::nullDevice());
    const uint32_t background = server.pixel(500, 400);

    Figures figures;
    const auto begin = Clock::now();
    process.start(program, QStringList());
    process.waitForStarted();
    waitForPixel(server, background, true);
    figures.milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
    if (withMemory) {
        std::this_thread::sleep_for(2s);
        figures.pssKilobytes = pssOf(process.processId());
    }
    process.kill();
    process.waitForFinished();
    waitForPixel(server, background, false);
    return figures;
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3) {
        std::fprintf(stderr, "usage: bench_start PLAYER EMPTY-WINDOW\n");
        return 2;
    }
    const XServer server;
    if (!server.isReady()) {
        std::fprintf(stderr, "no X server\n");
        return 1;
    }
    std::vector<double> times[2];
    double memory[2] = {};
    for (int round = 0; round < rounds; ++round) {
        for (int which = 0; which < 2; ++which) {
            const Figures figures = measure(server, arguments[1 + which], round == 0);
            times[which].push_back(figures.milliseconds);
            memory[which] = std::max(memory[which], figures.pssKilobytes);
        }
    }
    std::printf(
        "start to painted window: %.1f ms, empty Qt window %.1f ms, ratio %.2f (bound 1.3)\n",
        median(times[0]), median(times[1]), median(times[0]) / median(times[1]));
    std::printf("memory at rest (PSS): %.0f kB, empty Qt window %.0f kB, ratio %.2f (bound 1.3)\n",
                memory[0], memory[1], memory[0] / memory[1]);
    return 0;
}
