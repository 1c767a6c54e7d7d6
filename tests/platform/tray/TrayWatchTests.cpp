#include <QDBusMessage>

#include <gtest/gtest.h>
#include <optional>

#include "platform/tray/TrayWatch.h"
#include "support/BusDaemon.h"
#include "support/EventLoop.h"

namespace halvenor::test {
namespace {

using namespace std::chrono_literals;

/// A panel's side of the tray: the watcher, and a host that may come later.
class FakePanel final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered MEMBER hasHost_)

  public:
    FakePanel(const BusDaemon& bus, bool hasHost) : hasHost_(hasHost), client_(bus) {
        EXPECT_TRUE(client_.publish(*this, name, path, QDBusConnection::ExportAllProperties));
    }

    void registerHost() {
        hasHost_ = true;
        client_.connection().send(
            QDBusMessage::createSignal(path, name, QStringLiteral("StatusNotifierHostRegistered")));
    }

  private:
    inline static const QString path = QStringLiteral("/StatusNotifierWatcher");
    inline static const QString name = QStringLiteral("org.kde.StatusNotifierWatcher");

    bool hasHost_;
    BusClient client_;
};

struct WatchedTray {
    int seen = 0;
    TrayWatch watch{[this] { ++seen; }};

    WatchedTray() { watch.start(0ms); }
    bool isSeen() {
        return spinUntil([this] { return seen > 0; });
    }
    bool staysUnseen() {
        spinFor(300ms);
        return seen == 0;
    }
};

TEST(TrayWatch, seesATrayThatComesOrIsThere) {
    const BusDaemon bus;
    WatchedTray early;
    EXPECT_TRUE(early.staysUnseen()) << "nobody is there";
    const FakePanel panel(bus, true);
    EXPECT_TRUE(early.isSeen());
    WatchedTray late;
    EXPECT_TRUE(late.isSeen());
}

TEST(TrayWatch, waitsUntilSomebodyShowsTheItems) {
    const BusDaemon bus;
    WatchedTray early;
    FakePanel panel(bus, false);
    WatchedTray late;
    EXPECT_TRUE(early.staysUnseen());
    EXPECT_TRUE(late.staysUnseen());
    panel.registerHost();
    EXPECT_TRUE(early.isSeen());
    EXPECT_TRUE(late.isSeen());
}

TEST(TrayWatch, seesATrayOnABusThatComesBack) {
    BusDaemon bus;
    WatchedTray tray;
    EXPECT_TRUE(tray.staysUnseen());
    bus.kill();
    spinFor(100ms);
    bus.start();
    const FakePanel panel(bus, true);
    EXPECT_TRUE(tray.isSeen());
}

}  // namespace
}  // namespace halvenor::test

#include "TrayWatchTests.moc"
