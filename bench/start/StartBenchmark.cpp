// Time from exec to the painted window, and memory at rest, of the player with an empty library
// beside those of an empty Qt window: real programs on a private X server, taken in turn.
//
// Painted means that a pixel in the middle of the screen, where the window comes to stand, has left
// the colour of the root window. Memory is the proportional set size (PSS) after two quiet seconds.
//
// Usage: bench_start PLAYER EMPTY-WINDOW
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include "support/ChildProcess.h"
#include "support/XServer.h"

namespace {

using namespace halvenor;
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr int rounds = 15;

struct Figures {
    double milliseconds = 0;
    double pssKilobytes = 0;
};

double pssOf(pid_t pid) {
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

void waitForPixel(const bench::XServer& server, uint32_t background, bool isPainted) {
    const auto limit = Clock::now() + 10s;
    while ((server.pixel(500, 400) != background) != isPainted) {
        if (Clock::now() > limit) {
            std::fprintf(stderr, "no window came\n");
            std::exit(1);
        }
        std::this_thread::sleep_for(200us);
    }
}

Figures measure(const bench::XServer& server, const char* program, bool withMemory) {
    const QTemporaryDir home;
    test::ChildProcess::Setup setup;
    setup.command = {program};
    for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"}) {
        setup.environment[name] = home.path().toStdString();
    }
    const uint32_t background = server.pixel(500, 400);

    Figures figures;
    const auto begin = Clock::now();
    test::ChildProcess process(setup);
    waitForPixel(server, background, true);
    figures.milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
    if (withMemory) {
        std::this_thread::sleep_for(2s);
        figures.pssKilobytes = pssOf(process.id());
    }
    process.kill();
    waitForPixel(server, background, false);
    return figures;
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: bench_start PLAYER EMPTY-WINDOW\n");
        return 2;
    }
    const bench::XServer server;
    std::vector<double> times[2];
    double memory[2] = {};
    for (int round = 0; round < rounds; ++round) {
        for (int which = 0; which < 2; ++which) {
            const Figures figures = measure(server, argv[1 + which], round == 0);
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
