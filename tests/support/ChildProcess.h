#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace halvenor::test {

/// A program that a test started, ended with the object at the latest, by its process id; and by
/// the system when the test is killed.
///
/// Not QProcess, whose way of starting children makes ThreadSanitizer lose sight of the parent.
class ChildProcess {
  public:
    struct Setup {
        /// Program and arguments.
        std::vector<std::string> command;
        /// Variables that differ from this process's; an empty value removes one.
        std::map<std::string, std::string> environment = {};
        /// Files for the standard input, output and error; empty: there is none.
        std::string inputFile = {};
        std::string outputFile = {};
        std::string errorFile = {};
    };

    ChildProcess() = default;
    /// @throws std::runtime_error when it can't be started
    explicit ChildProcess(const Setup& setup);
    ~ChildProcess() { kill(); }
    ChildProcess(ChildProcess&& other) noexcept;
    ChildProcess& operator=(ChildProcess&& other) noexcept;

    pid_t id() const { return id_; }
    bool isRunning();
    /// Sends it a signal. Never to anything else: nothing is sent once it is known to have ended.
    /// @return whether it was sent
    bool send(int signal);
    /// Ends it as a crash would, and waits for that.
    void kill();
    /// Waits for its own end. @return the exit status; -1 when a signal ended it
    int wait();
    /// The same, but not for longer than this: then absent, and it goes on running.
    std::optional<int> waitFor(std::chrono::milliseconds patience);

  private:
    pid_t id_ = -1;
};

}  // namespace halvenor::test
