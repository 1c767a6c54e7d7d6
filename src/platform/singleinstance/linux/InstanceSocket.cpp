// The socket keeps packets apart (SOCK_SEQPACKET), so that neither side puts pieces together.
// Paths go through the descriptor of the folder: a socket's address is short, folders need not be.
#include "platform/singleinstance/linux/InstanceSocket.h"

#include <QList>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "base/Error.h"

namespace halvenor::instance {

namespace {

constexpr const char* lockName = "lock";
constexpr const char* socketName = "socket";
constexpr QByteArrayView requestHead = "halvenor launch 1\n";
constexpr QByteArrayView answerText = "halvenor shown 1\n";
constexpr int waitingGuests = 64;

void require(bool isDone) {
    if (!isDone) {
        throw Error::fromErrno(errno);
    }
}

sockaddr_un addressIn(const FileDescriptor& folder) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/%s", folder.get(),
                  socketName);
    return address;
}

FileDescriptor makeSocket() {
    FileDescriptor made(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    require(made.isOpen());
    return made;
}

std::optional<ucred> peerOf(const FileDescriptor& connection) {
    ucred peer{};
    socklen_t length = sizeof peer;
    const int result = ::getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &peer, &length);
    return result == 0 ? std::optional(peer) : std::nullopt;
}

// A line for each part; what is empty, or would break the lines, is left out.
QByteArray packetOf(const LaunchRequest& request) {
    QByteArray packet = requestHead.toByteArray();
    const auto add = [&packet](const char* key, const QByteArray& value) {
        const bool fits = static_cast<size_t>(packet.size() + value.size()) + 64 < packetSize;
        if (!value.isEmpty() && !value.contains('\n') && fits) {
            packet += key + value + '\n';
        }
        return fits;
    };
    add("activation-token=", request.activationToken);
    add("startup-id=", request.startupId);
    // Encoded, as a name may hold a line's end.
    const auto firstLeftOut = std::ranges::find_if_not(
        request.places, [&add](const FileUrl& place) { return add("open=", place.encoded()); });
    if (firstLeftOut != request.places.end()) {
        qWarning("Too many files at once: %td of them are not opened",
                 request.places.end() - firstLeftOut);
    }
    return packet;
}

// Waits until something happens on the descriptor. @return whether it did before the deadline
bool waitFor(const FileDescriptor& descriptor, short events, Clock::time_point deadline) {
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd waited{descriptor.get(), events, 0};
        const int result = ::poll(&waited, 1, static_cast<int>(std::max<int64_t>(left, 0)));
        if (result >= 0 || errno != EINTR) {
            return result > 0;
        }
    }
}

// A process whose queue of connections is full may be slow, so this goes on until the deadline.
Outcome connectTo(const FileDescriptor& connection, const sockaddr_un& address,
                  Clock::time_point deadline) {
    while (::connect(connection.get(), reinterpret_cast<const sockaddr*>(&address),
                     sizeof address) != 0) {
        if (errno != EAGAIN && errno != EINTR) {
            return Outcome::nobody;
        }
        if (Clock::now() >= deadline) {
            return Outcome::timeout;
        }
        ::poll(nullptr, 0, 10);
    }
    return Outcome::followed;
}

}  // namespace

FileDescriptor openFolder(const FileUrl& folder) {
    const QByteArray& path = folder.path();
    require(::mkdir(path.constData(), 0700) == 0 || errno == EEXIST);
    FileDescriptor opened(
        ::open(path.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status = {};
    require(opened.isOpen() && ::fstat(opened.get(), &status) == 0);
    if (status.st_uid != ::geteuid() || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        throw Error(ErrorKind::io, QStringLiteral("The folder belongs to somebody else"));
    }
    return opened;
}

FileDescriptor takeLock(const FileDescriptor& folder) {
    // The sticky bit asks those who tidy up temporary folders to leave the file.
    FileDescriptor lock(::openat(folder.get(), lockName, O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC,
                                 S_IRUSR | S_IWUSR));
    require(lock.isOpen());
    if (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
        require(errno == EWOULDBLOCK);
        return FileDescriptor();
    }
    ::fchmod(lock.get(), S_ISVTX | S_IRUSR | S_IWUSR);
    return lock;
}

FileDescriptor listenIn(const FileDescriptor& folder) {
    removeSocket(folder);
    FileDescriptor listening = makeSocket();
    const sockaddr_un address = addressIn(folder);
    require(::bind(listening.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) ==
            0);
    require(::fchmodat(folder.get(), socketName, S_IRUSR | S_IWUSR, 0) == 0);
    require(::listen(listening.get(), waitingGuests) == 0);
    return listening;
}

void removeSocket(const FileDescriptor& folder) {
    ::unlinkat(folder.get(), socketName, 0);
}

FileDescriptor acceptGuest(const FileDescriptor& listening) {
    for (;;) {
        FileDescriptor guest(
            ::accept4(listening.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        const bool wasInterrupted = !guest.isOpen() && (errno == EINTR || errno == ECONNABORTED);
        if (!guest.isOpen() && !wasInterrupted) {
            return guest;
        }
        const auto peer = peerOf(guest);
        if (peer && peer->uid == ::geteuid()) {
            return guest;
        }
    }
}

std::optional<LaunchRequest> parseRequest(const QByteArray& packet) {
    if (!packet.startsWith(requestHead)) {
        return std::nullopt;
    }
    LaunchRequest request;
    for (const QByteArray& line : packet.mid(requestHead.size()).split('\n')) {
        const qsizetype sign = line.indexOf('=');
        const QByteArrayView key = QByteArrayView(line).first(std::max<qsizetype>(sign, 0));
        if (key == "activation-token") {
            request.activationToken = line.mid(sign + 1);
        } else if (key == "startup-id") {
            request.startupId = line.mid(sign + 1);
        } else if (key == "open") {
            if (const auto place = FileUrl::fromEncoded(QByteArrayView(line).sliced(sign + 1))) {
                request.places.push_back(*place);
            }
        }
    }
    return request;
}

void answer(const FileDescriptor& guest) {
    [[maybe_unused]] const ssize_t sent =
        ::send(guest.get(), answerText.data(), static_cast<size_t>(answerText.size()),
               MSG_NOSIGNAL | MSG_DONTWAIT);
}

Answer ask(const FileDescriptor& folder, const LaunchRequest& request, Clock::time_point deadline) {
    const FileDescriptor connection = makeSocket();
    const Outcome connected = connectTo(connection, addressIn(folder), deadline);
    if (connected != Outcome::followed) {
        return {connected, std::nullopt};
    }
    const auto peer = peerOf(connection);
    const auto process = peer ? std::optional(peer->pid) : std::nullopt;
    const QByteArray packet = packetOf(request);
    if (::send(connection.get(), packet.constData(), static_cast<size_t>(packet.size()),
               MSG_NOSIGNAL) != packet.size()) {
        return {Outcome::nobody, process};
    }
    if (!waitFor(connection, POLLIN, deadline)) {
        return {Outcome::timeout, process};
    }
    char received[packetSize];
    const ssize_t length = ::recv(connection.get(), received, sizeof received, 0);
    const bool isAnswer = length > 0 && QByteArrayView(received, length) == answerText;
    return {isAnswer ? Outcome::followed : Outcome::nobody, process};
}

}  // namespace halvenor::instance
