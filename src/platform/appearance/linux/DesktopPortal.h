#pragma once

#include <QDBusMessage>
#include <QObject>

#include <chrono>

#include "base/Task.h"
#include "platform/appearance/DesktopPreferences.h"
#include "platform/sessionbus/SessionBus.h"

namespace halvenor {

/// The desktop's settings as its portal tells them to any program
/// (https://flatpak.github.io/xdg-desktop-portal/docs/doc-org.freedesktop.portal.Settings.html):
/// read when the bus is found, and heard of when they change. What no desktop tells stays as it
/// is. Main thread.
class DesktopPreferences::Portal final : public QObject {
    Q_OBJECT

  public:
    explicit Portal(DesktopPreferences& preferences);
    ~Portal() override;

    void start(std::chrono::milliseconds delay) { bus_.start(delay); }

  private Q_SLOTS:
    void settingChanged(const QDBusMessage& signal);

  private:
    void connected();
    void read(const QString& group, const QString& key);
    void take(const QString& group, const QString& key, const QVariant& value);

    DesktopPreferences& preferences_;
    const SystemAppearance toolkitAppearance_;
    Service worker_;
    SessionBus bus_;
};

}  // namespace halvenor
