#pragma once

#include <QByteArray>

#include <chrono>
#include <optional>
#include <sys/types.h>

#include "base/FileDescriptor.h"
#include "base/FileUrl.h"
#include "platform/singleinstance/SingleInstance.h"

/// The lock and the socket that stand for a running instance, and what goes over the socket: one
/// packet there, one back. Nothing here needs an event loop. Any thread.
namespace halvenor::instance {

using Clock = std::chrono::steady_clock;

/// Packets are at most this long, in bytes: enough for the longest paths there are, several times
/// over, and well below what the system takes as one packet.
inline constexpr size_t packetSize = 65536;

/// Makes the folder if it is missing and opens it.
/// @throws Error (io), also where the folder is another's or open to others
FileDescriptor openFolder(const FileUrl& folder);

/// The lock, if nobody has it; held until the descriptor is closed or the process ends.
/// @throws Error (io) where it can't be told
FileDescriptor takeLock(const FileDescriptor& folder);

/// A socket that takes connections, in the place of any that an earlier process left. Only the
/// holder of the lock may do this.
/// @throws Error (io)
FileDescriptor listenIn(const FileDescriptor& folder);
void removeSocket(const FileDescriptor& folder);

/// The next connection from a process of this user, not blocking; others are turned away. Not open
/// when none waits (errno: EAGAIN) or none can be accepted now (any other errno).
FileDescriptor acceptGuest(const FileDescriptor& listening);

/// The request of a guest. Absent for anything but one.
std::optional<LaunchRequest> parseRequest(const QByteArray& packet);
/// Tells the guest that its request was followed. One that has gone misses it.
void answer(const FileDescriptor& guest);

/// How asking the running process went.
enum class Outcome {
    followed,  ///< It answered.
    nobody,    ///< Nobody listens, or whoever did went away before answering.
    timeout,   ///< The deadline passed.
};
struct Answer {
    Outcome outcome = Outcome::nobody;
    /// The process that listens; absent where that is not known.
    std::optional<pid_t> process;
};

/// Hands `request` to the process that listens and waits for its answer.
Answer ask(const FileDescriptor& folder, const LaunchRequest& request, Clock::time_point deadline);

}  // namespace halvenor::instance
