#include "platform/tray/linux/StatusNotifiers.h"

#include <QDBusVariant>

#include <utility>

namespace halvenor {

namespace {

// The bus knows it by the name of the desktop that made it first.
QString watcher() {
    return QStringLiteral("org.kde.StatusNotifierWatcher");
}

QString watcherPath() {
    return QStringLiteral("/StatusNotifierWatcher");
}

QString busName() {
    return QStringLiteral("org.freedesktop.DBus");
}

}  // namespace

StatusNotifiers::StatusNotifiers(std::function<void()> onHost)
    : onHost_(std::move(onHost)), bus_({}, worker_, {.onConnected = [this] { askForHost(); }}) {
    bus_.listen({.service = watcher(),
                 .path = watcherPath(),
                 .interface = watcher(),
                 .name = QStringLiteral("StatusNotifierHostRegistered")},
                *this, SLOT(hostRegistered(QDBusMessage)));
    // Programs come and go on the bus; only the watcher's coming is news.
    bus_.listen({.service = busName(),
                 .path = QStringLiteral("/org/freedesktop/DBus"),
                 .interface = busName(),
                 .name = QStringLiteral("NameOwnerChanged"),
                 .arguments = {watcher()}},
                *this, SLOT(ownerChanged(QDBusMessage)));
}

void StatusNotifiers::askForHost() {
    QDBusMessage call = QDBusMessage::createMethodCall(
        watcher(), watcherPath(), QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("Get"));
    call << watcher() << QStringLiteral("IsStatusNotifierHostRegistered");
    // A panel starts its watcher itself; one that the bus starts would have no host.
    call.setAutoStartService(false);
    bus_.ask(call, [this](const QVariantList& answer) {
        if (answer.value(0).value<QDBusVariant>().variant().toBool()) {
            onHost_();
        }
    });
}

void StatusNotifiers::hostRegistered(const QDBusMessage&) {
    onHost_();
}

void StatusNotifiers::ownerChanged(const QDBusMessage& signal) {
    const QString newOwner = signal.arguments().value(2).toString();
    if (!newOwner.isEmpty()) {
        askForHost();
    }
}

}  // namespace halvenor
