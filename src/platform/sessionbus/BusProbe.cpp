#include "platform/sessionbus/BusProbe.h"

#include <QList>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "base/FileDescriptor.h"

namespace halvenor {

namespace {

constexpr std::chrono::milliseconds patience{2000};
constexpr std::chrono::milliseconds slice{20};

struct SocketAddress {
    sockaddr_un address{};
    socklen_t length = 0;
};

// Absent for a name that no socket can have.
std::optional<SocketAddress> makeAddress(const QByteArray& name) {
    SocketAddress made;
    made.address.sun_family = AF_UNIX;
    if (name.isEmpty() || static_cast<size_t>(name.size()) >= sizeof made.address.sun_path) {
        return std::nullopt;
    }
    std::memcpy(made.address.sun_path, name.constData(), static_cast<size_t>(name.size()));
    made.length =
        static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + static_cast<size_t>(name.size()));
    return made;
}

// Of "unix:path=/run/bus,guid=..." or "unix:abstract=name,...".
std::optional<SocketAddress> socketOf(const QByteArray& entry) {
    for (const QByteArray& pair : entry.mid(entry.indexOf(':') + 1).split(',')) {
        const qsizetype sign = pair.indexOf('=');
        const QByteArray key = pair.left(sign);
        const QByteArray value = QByteArray::fromPercentEncoding(pair.mid(sign + 1));
        if (key == "path") {
            return makeAddress(value);
        }
        if (key == "abstract") {
            return makeAddress('\0' + value);
        }
    }
    return std::nullopt;
}

// A client's first word makes any bus name the ways of introduction that it knows.
bool answers(const SocketAddress& address, const std::stop_token& stop) {
    const FileDescriptor connection(
        ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    constexpr char hello[] = "\0AUTH\r\n";
    constexpr size_t length = sizeof hello - 1;
    if (::connect(connection.get(), reinterpret_cast<const sockaddr*>(&address.address),
                  address.length) != 0 ||
        ::send(connection.get(), hello, length, MSG_NOSIGNAL) != static_cast<ssize_t>(length)) {
        return false;
    }
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!stop.stop_requested() && std::chrono::steady_clock::now() < deadline) {
        pollfd waited{connection.get(), POLLIN, 0};
        if (::poll(&waited, 1, static_cast<int>(slice.count())) > 0) {
            char byte = 0;
            return ::recv(connection.get(), &byte, 1, 0) == 1;
        }
    }
    return false;
}

}  // namespace

bool busAnswers(const QByteArray& address, const std::stop_token& stop) {
    const QList<QByteArray> entries = address.split(';');
    return std::ranges::any_of(entries, [&stop](const QByteArray& entry) {
        if (!entry.startsWith("unix:")) {
            return entry.contains(':');
        }
        const auto socket = socketOf(entry);
        return socket && answers(*socket, stop);
    });
}

}  // namespace halvenor
