#pragma once

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantList>

#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

namespace halvenor::test {

/// A private session bus, which starts no services of its own accord.
///
/// While it lives, DBUS_SESSION_BUS_ADDRESS points programs and this process at it. It is started
/// and stopped by process id, in a temporary folder.
class BusDaemon {
  public:
    /// Starts the bus and waits until it takes connections. isRunning() tells whether it does.
    BusDaemon();
    ~BusDaemon();
    BusDaemon(const BusDaemon&) = delete;
    BusDaemon& operator=(const BusDaemon&) = delete;

    bool isRunning() { return process_.isRunning(); }
    QByteArray address() const { return "unix:path=" + folder_.path("bus"); }
    /// Ends it as a crash would; its socket stays behind.
    void kill();
    /// Starts it again after kill(), at the same address.
    void start();
    /// Keeps it from running: it takes connections and answers none.
    void freeze() const;
    void thaw() const;

  private:
    TemporaryFolder folder_;
    QByteArray previousAddress_;
    ChildProcess process_;
};

/// A client of the bus, with a connection of its own. Its calls let the main event loop run until
/// the answer is there, as what is called may live on the main thread of this very process.
class BusClient {
  public:
    explicit BusClient(const BusDaemon& bus);
    ~BusClient();
    BusClient(const BusClient&) = delete;
    BusClient& operator=(const BusClient&) = delete;

    QDBusConnection& connection() { return connection_; }

    /// Lets others reach `object`, which lives at least as long as this, under a name of the bus.
    /// @return whether the name was free
    bool publish(QObject& object, const QString& service, const QString& path,
                 QDBusConnection::RegisterOptions what);

    /// The answer, which may be an error.
    QDBusMessage call(const QString& service, const QString& path, const QString& interface,
                      const QString& method, const QVariantList& arguments = {});

    /// Who owns the name on the bus; empty for nobody.
    QString ownerOf(const QString& service);

  private:
    QString name_;
    QDBusConnection connection_;
    QObject* published_ = nullptr;
    QString publishedPath_;
};

}  // namespace halvenor::test
