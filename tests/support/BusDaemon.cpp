#include "support/BusDaemon.h"

#include <QDBusPendingCall>
#include <QFile>
#include <QUuid>

#include <csignal>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>

#include "base/FileDescriptor.h"
#include "support/EventLoop.h"

namespace halvenor::test {

namespace {

bool takesConnections(const QByteArray& path) {
    const FileDescriptor probe(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.constData(), sizeof address.sun_path - 1);
    return ::connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

}  // namespace

BusDaemon::BusDaemon() : previousAddress_(qgetenv("DBUS_SESSION_BUS_ADDRESS")) {
    folder_.makeFile("bus.conf", "<busconfig><type>session</type><listen>" + address() +
                                     "</listen><policy context=\"default\">"
                                     "<allow send_destination=\"*\" eavesdrop=\"true\"/>"
                                     "<allow eavesdrop=\"true\"/><allow own=\"*\"/>"
                                     "</policy></busconfig>");
    qputenv("DBUS_SESSION_BUS_ADDRESS", address());
    start();
}

BusDaemon::~BusDaemon() {
    if (previousAddress_.isEmpty()) {
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    } else {
        qputenv("DBUS_SESSION_BUS_ADDRESS", previousAddress_);
    }
}

void BusDaemon::start() {
    QFile::remove(QFile::decodeName(folder_.path("bus")));
    process_ = ChildProcess({.command = {"dbus-daemon", "--nofork", "--nopidfile",
                                         "--config-file=" + folder_.path("bus.conf").toStdString()},
                             .environment = {{"DBUS_SESSION_BUS_ADDRESS", ""}}});
    spinUntil([this] { return takesConnections(folder_.path("bus")) || !isRunning(); });
}

void BusDaemon::kill() {
    process_.kill();
}

void BusDaemon::freeze() const {
    ::kill(process_.id(), SIGSTOP);
}

void BusDaemon::thaw() const {
    ::kill(process_.id(), SIGCONT);
}

BusClient::BusClient(const BusDaemon& bus)
    : name_(QUuid::createUuid().toString()),
      connection_(QDBusConnection::connectToBus(QString::fromLatin1(bus.address()), name_)) {}

BusClient::~BusClient() {
    // The library's thread, which closes the connection, finds nothing of the object.
    if (published_ != nullptr) {
        connection_.unregisterObject(publishedPath_);
        QObject::disconnect(published_, &QObject::destroyed, nullptr, nullptr);
    }
    QDBusConnection::disconnectFromBus(name_);
}

bool BusClient::publish(QObject& object, const QString& service, const QString& path,
                        QDBusConnection::RegisterOptions what) {
    published_ = &object;
    publishedPath_ = path;
    return connection_.registerObject(path, &object, what) && connection_.registerService(service);
}

QDBusMessage BusClient::call(const QString& service, const QString& path, const QString& interface,
                             const QString& method, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    const QDBusPendingCall pending = connection_.asyncCall(message);
    spinUntil([&] { return pending.isFinished(); });
    return pending.reply();
}

QString BusClient::ownerOf(const QString& service) {
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    const QDBusMessage answer = call(bus, QStringLiteral("/org/freedesktop/DBus"), bus,
                                     QStringLiteral("GetNameOwner"), {service});
    return answer.type() == QDBusMessage::ReplyMessage ? answer.arguments().value(0).toString()
                                                       : QString();
}

}  // namespace halvenor::test
