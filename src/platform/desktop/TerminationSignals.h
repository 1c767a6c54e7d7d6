#pragma once

#include <QSocketNotifier>

#include <array>
#include <csignal>
#include <functional>

#include "base/FileDescriptor.h"

namespace halvenor {

/// Turns the signals that ask a program to end (SIGTERM, SIGINT, SIGHUP) into a call on the main
/// thread, so that ending by one of them saves all that is saved otherwise.
///
/// While it lives, none of them ends the process by itself. Only the first counts: whoever sends
/// one often sends another right behind it (a closing session: SIGTERM, then SIGHUP), and that must
/// not cut the saving short. SIGHUP stays ignored where the process was started so, as nohup does.
/// Children get the signals as any program does. One object in a process, made and destroyed on the
/// main thread while the application object is there.
class TerminationSignals {
  public:
    /// @param onRequested called once, from the event loop; one that came before the loop began is
    /// told when it does
    explicit TerminationSignals(std::function<void()> onRequested);
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;
    /// Puts the earlier handling back.
    ~TerminationSignals();

  private:
    static constexpr std::array signals = {SIGTERM, SIGINT, SIGHUP};

    TerminationSignals(std::function<void()> onRequested, const std::array<int, 2>& pipe);
    void signalArrived();

    std::function<void()> onRequested_;
    FileDescriptor readEnd_;
    FileDescriptor writeEnd_;
    std::array<struct sigaction, signals.size()> earlier_{};
    QSocketNotifier notifier_;
};

}  // namespace halvenor
