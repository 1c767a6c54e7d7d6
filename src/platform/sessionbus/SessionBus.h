#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <QVariantList>

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

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

/// Whose signal of which name; an empty service is any.
struct BusSignal {
    QString service;
    QString path;
    QString interface;
    QString name;
    QStringList arguments = {};  ///< what the first ones must be
};

/// A connection of this object's own to the session bus, with a name on it; made again when it is
/// lost.
///
/// Connecting waits for the bus, which may be slow, stopped or gone, so it happens on a worker; the
/// main thread only sends. Where there is no bus, and after it has gone, it is sought again after a
/// second, then after twice as long each time, up to a minute. Main thread.
class SessionBus final : public QObject {
    Q_OBJECT

  public:
    /// What is not given is not told.
    struct Callbacks {
        /// Connected, without a name yet: what is published can be reached, others can be asked.
        std::function<void()> onConnected = [] {};
        /// The name is there: clients see this process from now on.
        std::function<void()> onNamed = [] {};
        /// The connection is gone; nothing is reached through it any more.
        std::function<void()> onLost = [] {};
    };

    /// @param names to ask for, in this order, until one is free; empty for a client that nobody
    /// is to find
    /// @param worker where connecting waits
    SessionBus(QStringList names, Service& worker, Callbacks callbacks);
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;
    ~SessionBus() override;

    /// Lets clients reach the adaptors of `object`, through every connection that is made. It lives
    /// as long as this. Before start().
    void publish(const QString& path, QObject& object);
    /// Has `slot`, a SLOT() of `receiver`, called for each such signal, through every connection
    /// that is made. The receiver lives as long as this. Before start().
    void listen(const BusSignal& signal, QObject& receiver, const char* slot);
    /// Connects for the first time after `delay`.
    void start(std::chrono::milliseconds delay);

    bool isNamed() const { return isNamed_; }
    /// Sends without waiting, where there is a name; else the message is dropped.
    void send(const QDBusMessage& message) const;
    /// Calls somebody without waiting. `take` gets what the answer holds, later; it gets nothing
    /// where there is no connection, nobody answers, or the answer is an error.
    void ask(const QDBusMessage& message, std::function<void(const QVariantList&)> take);

  private Q_SLOTS:
    void connectionLost();

  private:
    struct PublishedObject {
        QString path;
        QObject& object;
    };
    struct Listener {
        BusSignal signal;
        QObject& receiver;
        const char* slot;
    };

    Task<> connectToBus(std::stop_token stop);
    void connected();
    void requestName(qsizetype index);
    void call(const QDBusMessage& message, std::function<void(const QDBusMessage&)> take);
    void takeBack(QDBusConnection& connection);
    void disconnectFromBus();
    void retryLater();

    QStringList names_;
    Service& worker_;
    Callbacks callbacks_;
    std::vector<PublishedObject> published_;
    std::vector<Listener> listeners_;
    QTimer retryTimer_;
    std::chrono::milliseconds retryDelay_;
    std::optional<QDBusConnection> connection_;
    bool isNamed_ = false;
    TaskSlot connectTask_;
};

}  // namespace halvenor
