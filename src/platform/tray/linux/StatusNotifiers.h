#pragma once

#include <QDBusMessage>
#include <QObject>

#include <chrono>
#include <functional>

#include "base/Task.h"
#include "platform/sessionbus/SessionBus.h"

namespace halvenor {

/// The tray that is reached through the session bus
/// (https://www.freedesktop.org/wiki/Specifications/StatusNotifierItem/): a watcher, which keeps
/// the list of status items, and a host, which shows them. Main thread.
class StatusNotifiers final : public QObject {
    Q_OBJECT

  public:
    /// @param onHost the watcher knows a host; called whenever that is seen
    explicit StatusNotifiers(std::function<void()> onHost);

    /// Connects after `delay`.
    void start(std::chrono::milliseconds delay) { bus_.start(delay); }

  private Q_SLOTS:
    void hostRegistered(const QDBusMessage& signal);
    void ownerChanged(const QDBusMessage& signal);

  private:
    void askForHost();

    std::function<void()> onHost_;
    Service worker_;
    SessionBus bus_;
};

}  // namespace halvenor
