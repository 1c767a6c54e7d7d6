#include "platform/sessionbus/SessionBus.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QUuid>

#include <algorithm>
#include <utility>

#include "base/FileStatus.h"
#include "platform/sessionbus/BusProbe.h"
#include "platform/userfolders/UserFolders.h"

namespace halvenor {

namespace {

constexpr std::chrono::milliseconds firstRetryDelay{1000};
constexpr std::chrono::milliseconds longestRetryDelay{60'000};

// Answers of the bus to org.freedesktop.DBus.RequestName, and what is asked with it.
constexpr uint doNotQueue = 4;
constexpr uint isPrimaryOwner = 1;
constexpr uint isAlreadyOwner = 4;

// Told by the library itself when the bus goes away.
BusSignal disconnected() {
    return {.service = QString(),
            .path = QStringLiteral("/org/freedesktop/DBus/Local"),
            .interface = QStringLiteral("org.freedesktop.DBus.Local"),
            .name = QStringLiteral("Disconnected")};
}

// The library closes a connection on a thread of its own; it would look at the object from there,
// which may be gone by then.
void endInterestIn(QObject& object) {
    QObject::disconnect(&object, &QObject::destroyed, nullptr, nullptr);
}

// Empty where there is no bus. One is never started for this program's sake, as the library would
// do by itself ("autolaunch").
QByteArray busAddress() {
    const QByteArray configured = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    if (!configured.isEmpty()) {
        return configured.startsWith("autolaunch:") ? QByteArray() : configured;
    }
    const auto runtime = runtimeHome();
    const FileUrl socket = runtime ? runtime->appendingPathComponent("bus") : FileUrl(QByteArray());
    return runtime && itemExists(socket) ? "unix:path=" + socket.path().toPercentEncoding("/", "~")
                                         : QByteArray();
}

// Absent where the bus does not answer.
std::optional<QDBusConnection> open(const QByteArray& address, const QString& key,
                                    const std::stop_token& stop) {
    if (!busAnswers(address, stop)) {
        return std::nullopt;
    }
    QDBusConnection made = QDBusConnection::connectToBus(QString::fromUtf8(address), key);
    if (!made.isConnected()) {
        QDBusConnection::disconnectFromBus(key);
        return std::nullopt;
    }
    return made;
}

}  // namespace

Task<BusPresence> findSessionBus(Service& worker, std::stop_token stop) {
    auto job = worker.run(
        [address = busAddress()](const std::stop_token& stopped) {
            if (address.isEmpty()) {
                return BusPresence::absent;
            }
            return busAnswers(address, stopped) ? BusPresence::answers : BusPresence::mute;
        },
        stop);
    const BusPresence presence = co_await job;
    co_return presence;
}

SessionBus::SessionBus(QStringList names, Service& worker, Callbacks callbacks)
    : names_(std::move(names)),
      worker_(worker),
      callbacks_(std::move(callbacks)),
      retryDelay_(firstRetryDelay) {
    listen(disconnected(), *this, SLOT(connectionLost()));
    retryTimer_.setSingleShot(true);
    retryTimer_.callOnTimeout(this, [this] {
        connectTask_.start([this](std::stop_token stop) { return connectToBus(std::move(stop)); });
    });
}

SessionBus::~SessionBus() {
    connectTask_.cancel();
    disconnectFromBus();
}

void SessionBus::publish(const QString& path, QObject& object) {
    published_.push_back({path, object});
}

void SessionBus::listen(const BusSignal& signal, QObject& receiver, const char* slot) {
    listeners_.push_back({signal, receiver, slot});
}

void SessionBus::start(std::chrono::milliseconds delay) {
    retryTimer_.start(delay);
}

void SessionBus::send(const QDBusMessage& message) const {
    if (isNamed_) {
        connection_->send(message);
    }
}

void SessionBus::ask(const QDBusMessage& message, std::function<void(const QVariantList&)> take) {
    if (!connection_) {
        return;
    }
    call(message, [take = std::move(take)](const QDBusMessage& answer) {
        if (answer.type() == QDBusMessage::ReplyMessage) {
            take(answer.arguments());
        }
    });
}

Task<> SessionBus::connectToBus(std::stop_token stop) {
    // Qt knows connections by name, and each of them but once.
    const QString key = QUuid::createUuid().toString();
    auto job =
        worker_.run([address = busAddress(),
                     key](const std::stop_token& stopped) { return open(address, key, stopped); },
                    stop);
    const std::optional<QDBusConnection> made = co_await job;
    if (stop.stop_requested()) {
        QDBusConnection::disconnectFromBus(key);
        co_return;
    }
    if (!made) {
        retryLater();
        co_return;
    }
    connection_ = made;
    connected();
}

void SessionBus::connected() {
    for (const auto& [signal, receiver, slot] : listeners_) {
        connection_->connect(signal.service, signal.path, signal.interface, signal.name,
                             signal.arguments, QString(), &receiver, slot);
    }
    for (const auto& [path, object] : published_) {
        connection_->registerObject(path, &object, QDBusConnection::ExportAdaptors);
    }
    callbacks_.onConnected();
    if (names_.isEmpty()) {
        retryDelay_ = firstRetryDelay;
    } else {
        requestName(0);
    }
}

void SessionBus::requestName(qsizetype index) {
    QDBusMessage request = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("RequestName"));
    request << names_.at(index) << doNotQueue;
    call(request, [this, index](const QDBusMessage& answer) {
        if (answer.type() != QDBusMessage::ReplyMessage) {
            return connectionLost();
        }
        const uint verdict = answer.arguments().value(0).toUInt();
        if (verdict == isPrimaryOwner || verdict == isAlreadyOwner) {
            isNamed_ = true;
            retryDelay_ = firstRetryDelay;
            callbacks_.onNamed();
        } else if (index + 1 < names_.size()) {
            requestName(index + 1);
        } else {
            connectionLost();
        }
    });
}

// The answer may be an error. One that comes when the connection is gone is nobody's.
void SessionBus::call(const QDBusMessage& message, std::function<void(const QDBusMessage&)> take) {
    auto* const watcher = new QDBusPendingCallWatcher(connection_->asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, take = std::move(take)] {
                watcher->deleteLater();
                if (connection_) {
                    take(watcher->reply());
                }
            });
}

void SessionBus::connectionLost() {
    if (!connection_) {
        return;
    }
    disconnectFromBus();
    callbacks_.onLost();
    retryLater();
}

void SessionBus::takeBack(QDBusConnection& connection) {
    for (const auto& [path, object] : published_) {
        connection.unregisterObject(path);
        endInterestIn(object);
    }
    for (const auto& [signal, receiver, slot] : listeners_) {
        connection.disconnect(signal.service, signal.path, signal.interface, signal.name,
                              signal.arguments, QString(), &receiver, slot);
        endInterestIn(receiver);
    }
}

void SessionBus::disconnectFromBus() {
    isNamed_ = false;
    if (auto gone = std::exchange(connection_, std::nullopt)) {
        takeBack(*gone);
        QDBusConnection::disconnectFromBus(gone->name());
    }
}

void SessionBus::retryLater() {
    retryTimer_.start(retryDelay_);
    retryDelay_ = std::min(2 * retryDelay_, longestRetryDelay);
}

}  // namespace halvenor
