#include "support/ChildProcess.h"

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace halvenor::test {

namespace {

std::vector<std::string> environmentWith(const std::map<std::string, std::string>& changes) {
    std::vector<std::string> result;
    for (char** variable = environ; *variable; ++variable) {
        const std::string text = *variable;
        if (!changes.contains(text.substr(0, text.find('=')))) {
            result.push_back(text);
        }
    }
    for (const auto& [name, value] : changes) {
        if (!value.empty()) {
            result.push_back(name + "=" + value);
        }
    }
    return result;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace

ChildProcess::ChildProcess(const Setup& setup) {
    std::vector<std::string> command = {"setpriv", "--pdeathsig", "KILL"};
    command.insert(command.end(), setup.command.begin(), setup.command.end());
    std::vector<std::string> environment = environmentWith(setup.environment);
    const auto fileOrNone = [](const std::string& file) {
        return file.empty() ? "/dev/null" : file.c_str();
    };
    constexpr int written = O_WRONLY | O_CREAT | O_TRUNC;

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, fileOrNone(setup.inputFile), O_RDONLY,
                                     0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, fileOrNone(setup.outputFile), written,
                                     0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, fileOrNone(setup.errorFile), written,
                                     0600);
    const int result = posix_spawnp(&id_, command[0].c_str(), &actions, nullptr,
                                    pointersTo(command).data(), pointersTo(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    if (result != 0) {
        id_ = -1;
        throw std::runtime_error("can't start " + setup.command[0]);
    }
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept : id_(std::exchange(other.id_, -1)) {}

ChildProcess& ChildProcess::operator=(ChildProcess&& other) noexcept {
    if (this != &other) {
        kill();
        id_ = std::exchange(other.id_, -1);
    }
    return *this;
}

bool ChildProcess::isRunning() {
    if (id_ > 0 && waitpid(id_, nullptr, WNOHANG) == id_) {
        id_ = -1;
    }
    return id_ > 0;
}

// An id of -1 would mean every process there is.
bool ChildProcess::send(int signal) {
    return id_ > 0 && ::kill(id_, signal) == 0;
}

void ChildProcess::kill() {
    if (isRunning()) {
        ::kill(id_, SIGKILL);
        waitpid(std::exchange(id_, -1), nullptr, 0);
    }
}

int ChildProcess::wait() {
    int status = 0;
    if (id_ <= 0 || waitpid(std::exchange(id_, -1), &status, 0) < 0) {
        return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::optional<int> ChildProcess::waitFor(std::chrono::milliseconds patience) {
    const auto end = std::chrono::steady_clock::now() + patience;
    siginfo_t info{};
    // Looked at only, so that wait() can take its status.
    while (id_ > 0 &&
           waitid(P_PID, static_cast<id_t>(id_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == 0) {
        if (std::chrono::steady_clock::now() > end) {
            return std::nullopt;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return wait();
}

}  // namespace halvenor::test
