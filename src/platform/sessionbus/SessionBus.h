#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QTimer>

#include <chrono>
#include <functional>
#include <optional>

#include "base/Task.h"

namespace halvenor {

enum class BusPresence {
    absent,   ///< none is configured
    answers,  ///< it can be used without waiting long
    mute,     ///< whoever connects waits, perhaps for ever
};

/// Looks for the session bus on `worker`. What a toolkit does on the main thread by itself, as a
/// tray icon does, is safe unless the bus is mute. Main thread.
Task<BusPresence> findSessionBus(Service& worker, std::stop_token stop);

/// A connection of this object's own to the session bus, with a name on it; made again when it is
/// lost.
///
/// Connecting waits for the bus, which may be slow, stopped or gone, so it happens on a worker; the
/// main thread only sends. Where there is no bus, and after it has gone, it is sought again after a
/// second, then after twice as long each time, up to a minute. Main thread.
class SessionBus final : public QObject {
    Q_OBJECT

  public:
    struct Callbacks {
        /// Connected, without a name yet: whatever is to be reached gets registered here.
        std::function<void(QDBusConnection&)> onConnected;
        /// The name is there: clients see this process from now on.
        std::function<void()> onNamed;
        /// About to be disconnected: whatever was registered or connected is taken back here, and
        /// letGo() of.
        std::function<void(QDBusConnection&)> onDisconnecting;
        /// The connection is gone, and with it all that was registered.
        std::function<void()> onLost;
    };

    /// @param names to ask for, in this order, until one is free; empty for a client that nobody
    /// is to find
    /// @param worker where connecting waits
    SessionBus(QStringList names, Service& worker, Callbacks callbacks);
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;
    ~SessionBus() override;

    /// Connects for the first time after `delay`.
    void start(std::chrono::milliseconds delay);

    /// Ends the library's own interest in the end of `object`, which was registered or connected to
    /// a signal. The library closes connections on a thread of its own; it would look at the object
    /// from there, which may be gone by then.
    static void letGo(QObject& object);

    bool isNamed() const { return isNamed_; }
    /// Sends without waiting, where there is a name; else the message is dropped.
    void send(const QDBusMessage& message) const;

  private Q_SLOTS:
    void connectionLost();

  private:
    Task<> connectToBus(std::stop_token stop);
    void connected();
    void requestName(qsizetype index);
    void disconnectFromBus();
    void retryLater();

    QStringList names_;
    Service& worker_;
    Callbacks callbacks_;
    QTimer retryTimer_;
    std::chrono::milliseconds retryDelay_;
    std::optional<QDBusConnection> connection_;
    bool isNamed_ = false;
    TaskSlot connectTask_;
};

}  // namespace halvenor
