// Time from exec to the painted window, and memory at rest, of the player with an empty library
// beside those of an empty Qt window: real programs on a private X server, taken in turn.
//
// Painted means that a pixel in the middle of the screen, where the window comes to stand, has left
// the colour of the root window. Memory is the proportional set size (PSS) after two quiet seconds.
// Times vary with whatever else the machine does, so the ratio is the median of the rounds' ratios.
//
// Usage: bench_start PLAYER EMPTY-WINDOW
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "support/Measure.h"
#include "support/Report.h"
#include "support/XServer.h"

namespace {

using namespace halvenor;
using halvenor::bench::median;
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr int rounds = 31;

/// A program with an empty home of its own, ended with the object.
class MeasuredProgram {
  public:
    explicit MeasuredProgram(const char* program)
        : home_(std::filesystem::temp_directory_path() / "start-XXXXXX") {
        if (mkdtemp(home_.data()) == nullptr) {
            throw std::runtime_error("no temporary folder can be made");
        }
        id_ = fork();
        if (id_ == 0) {
            for (const char* name :
                 {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"}) {
                setenv(name, home_.c_str(), 1);
            }
            execl(program, program, static_cast<char*>(nullptr));
            _exit(127);
        }
    }
    ~MeasuredProgram() {
        kill(id_, SIGKILL);
        waitpid(id_, nullptr, 0);
        std::error_code ignored;
        std::filesystem::remove_all(home_, ignored);
    }
    MeasuredProgram(const MeasuredProgram&) = delete;
    MeasuredProgram& operator=(const MeasuredProgram&) = delete;

    /// Kilobytes.
    double proportionalSetSize() const {
        std::ifstream rollup("/proc/" + std::to_string(id_) + "/smaps_rollup");
        for (std::string word; rollup >> word;) {
            if (word == "Pss:") {
                double kilobytes = 0;
                rollup >> kilobytes;
                return kilobytes;
            }
        }
        return 0;
    }

  private:
    std::string home_;
    pid_t id_ = -1;
};

struct Figures {
    double milliseconds = 0;
    double kilobytes = 0;
};

void waitForPixel(const bench::XServer& server, uint32_t background, bool isPainted) {
    const auto limit = Clock::now() + 10s;
    while ((server.pixel(500, 400) != background) != isPainted) {
        if (Clock::now() > limit) {
            throw std::runtime_error("no window came");
        }
        std::this_thread::sleep_for(200us);
    }
}

Figures measure(const bench::XServer& server, const char* program, bool withMemory) {
    const uint32_t background = server.pixel(500, 400);
    Figures figures;
    {
        const auto begin = Clock::now();
        const MeasuredProgram running(program);
        waitForPixel(server, background, true);
        const std::chrono::duration<double, std::milli> time = Clock::now() - begin;
        figures.milliseconds = time.count();
        if (withMemory) {
            std::this_thread::sleep_for(2s);
            figures.kilobytes = running.proportionalSetSize();
        }
    }
    waitForPixel(server, background, false);
    return figures;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: bench_start PLAYER EMPTY-WINDOW\n");
        return 2;
    }
    const bench::XServer server;
    std::vector<double> ours, empty, ratios;
    Figures ourMemory, emptyMemory;
    for (int round = 0; round < rounds; ++round) {
        const Figures player = measure(server, argv[1], round == 1);
        const Figures window = measure(server, argv[2], round == 1);
        if (round == 0) {
            continue;  // The first finds cold caches.
        }
        if (round == 1) {
            ourMemory = player;
            emptyMemory = window;
        }
        ours.push_back(player.milliseconds);
        empty.push_back(window.milliseconds);
        ratios.push_back(player.milliseconds / window.milliseconds);
    }
    std::printf(
        "start to painted window: %.1f ms, empty Qt window %.1f ms, ratio %.2f (bound 1.3)\n",
        median(ours), median(empty), median(ratios));
    bench::report({.work = "start to painted window",
                   .unit = "ms",
                   .ours = median(ours),
                   .baseline = median(empty),
                   .ratio = median(ratios),
                   .bound = 1.3});
    bench::report({.work = "memory at rest (PSS)",
                   .unit = "kB",
                   .ours = ourMemory.kilobytes,
                   .baseline = emptyMemory.kilobytes,
                   .bound = 1.3});
    std::printf("memory at rest (PSS): %.0f kB, empty Qt window %.0f kB, ratio %.2f (bound 1.3)\n",
                ourMemory.kilobytes, emptyMemory.kilobytes,
                ourMemory.kilobytes / emptyMemory.kilobytes);
    return 0;
}
