// A bus that is not there, goes away or does not answer, and clients that make no sense.
#include <QDBusObjectPath>

#include <ctime>
#include <limits>

#include "MprisFixture.h"
#include "platform/sessionbus/BusProbe.h"
#include "support/EventLoop.h"

namespace halvenor::test {
namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;

/// The share of one processor that this process uses while the event loop idles.
double idleLoad() {
    constexpr std::chrono::milliseconds watched{1000};
    const std::clock_t before = std::clock();
    spinFor(watched);
    return static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC /
           std::chrono::duration<double>(watched).count();
}

class MprisFaultTest : public MprisTest {
  protected:
    /// Changes everything that would be told, again and again.
    void useService() {
        for (int i = 0; i < 20; ++i) {
            player_.state.position += 50;
            player_.state.volume = i % 2;
            service().updateNowPlaying(makeTrack(text("A track"), Artwork(imageOf(Qt::red, 1 + i))),
                                       0, 200, true);
            service().playerChanged();
            spinFor(5ms);
        }
    }
    bool comesBack() {
        client_.emplace(bus_);
        return spinUntil([this] { return !client_->ownerOf(name_).isEmpty(); });
    }
};

TEST_F(MprisFaultTest, withoutABusNothingHappensUntilThereIsOne) {
    bus_.kill();
    service().start(0ms);
    const EventLoopTicker ticker;
    useService();
    EXPECT_LT(idleLoad(), 0.2);
    EXPECT_LT(ticker.longestStall(), 200);
    bus_.start();
    ASSERT_TRUE(comesBack());
    EXPECT_EQ(metadata("xesam:title"), text("A track"));
}

TEST_F(MprisFaultTest, withoutAnAddressNoBusIsStarted) {
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    service().start(0ms);
    useService();
    qputenv("DBUS_SESSION_BUS_ADDRESS", "autolaunch:");
    spinFor(1500ms);
    qputenv("DBUS_SESSION_BUS_ADDRESS", "nonsense");
    spinFor(100ms);
    EXPECT_LT(idleLoad(), 0.2);
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus_.address());
    EXPECT_TRUE(comesBack());
}

TEST_F(MprisFaultTest, theBusOfTheRuntimeFolderServesWhereNoAddressIsGiven) {
    const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
    qputenv("XDG_RUNTIME_DIR", folder_.makeFolder("run~ time").path());
    folder_.makeLink("run~ time/bus", bus_.address().mid(qstrlen("unix:path=")));
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    EXPECT_TRUE(start());
    qputenv("XDG_RUNTIME_DIR", runtime);
}

TEST_F(MprisFaultTest, aBusThatGoesAwayIsSoughtAgain) {
    service().updateNowPlaying(makeTrack(text("One"), Artwork(imageOf(Qt::red))), 0, 200, true);
    ASSERT_TRUE(start());
    for (int i = 0; i < 3; ++i) {
        bus_.kill();
        client_.reset();
        useService();
        EXPECT_LT(idleLoad(), 0.2);
        bus_.start();
        ASSERT_TRUE(comesBack());
        callPlayer("Play");
        EXPECT_EQ(player_.log.size(), static_cast<size_t>(i + 1));
    }
}

TEST_F(MprisFaultTest, aBusThatDoesNotAnswerHoldsNothingUp) {
    bus_.freeze();
    const EventLoopTicker ticker;
    service().start(0ms);
    useService();
    EXPECT_LT(ticker.longestStall(), 200);
    EXPECT_LT(idleLoad(), 0.2);
    bus_.thaw();
    ASSERT_TRUE(comesBack());
    bus_.freeze();
    useService();
    EXPECT_LT(ticker.longestStall(), 200);
    stop();
    EXPECT_LT(ticker.longestStall(), 200);
    bus_.thaw();
}

TEST_F(MprisFaultTest, aBusThatDoesNotAnswerDoesNotHoldUpTheEndEither) {
    bus_.freeze();
    service().start(0ms);
    spinFor(100ms);
    const EventLoopTicker ticker;
    stop();
    EXPECT_LT(ticker.longestStall(), 200);
}

TEST(BusProbe, tellsWhoAnswersAtAnAddress) {
    const BusDaemon bus;
    const QByteArray good = bus.address();
    for (const QByteArray& address :
         {good, good + ",guid=0123456789abcdef", "unix:path=/nowhere;" + good,
          "unix:path=" + QByteArray(300, 'x') + ";" + good, QByteArray("tcp:host=127.0.0.1"),
          QByteArray(good).replace("bus", "%62us")}) {
        EXPECT_TRUE(busAnswers(address, {})) << address.toStdString();
    }
    for (const char* address : {"", ";", "nonsense", "unix:", "unix:path", "unix:path=",
                                "unix:path=/nowhere", "unix:abstract=nobody", "unix:path=/tmp"}) {
        EXPECT_FALSE(busAnswers(address, {})) << address;
    }
}

TEST_F(MprisFaultTest, aNameThatIsTakenGetsASuffix) {
    BusClient other(bus_);
    ASSERT_TRUE(other.connection().registerService(name_));
    const QString taken = name_;
    name_ += QStringLiteral(".instance%1").arg(QCoreApplication::applicationPid());
    ASSERT_TRUE(start());
    EXPECT_EQ(client_->ownerOf(taken), other.connection().baseService());
    callPlayer("Play");
    EXPECT_EQ(player_.log.size(), 1U);
}

TEST_F(MprisFaultTest, theEndTakesTheNameOffTheBus) {
    ASSERT_TRUE(start());
    stop();
    EXPECT_TRUE(spinUntil([this] { return client_->ownerOf(name_).isEmpty(); }));
}

TEST_F(MprisFaultTest, anEndWhileConnectingIsQuiet) {
    for (int i = 0; i < 30; ++i) {
        service().start(0ms);
        service().updateNowPlaying(makeTrack(text("One"), Artwork(imageOf(Qt::red, 200))), 0, 200,
                                   true);
        spinFor(std::chrono::milliseconds(i));
        stop();
        service_.emplace();
        player_.setUp(*service_);
    }
    EXPECT_TRUE(start());
}

TEST_F(MprisFaultTest, nonsenseIsAnsweredWithErrors) {
    service().updateNowPlaying(makeTrack(text("One")), 0, 200, true);
    ASSERT_TRUE(start());
    const QString properties = text("org.freedesktop.DBus.Properties");
    struct Case {
        QString interface;
        const char* method;
        QVariantList arguments;
    };
    for (const Case& one :
         {Case{playerInterface, "Explode", {}}, Case{playerInterface, "next", {}},
          Case{playerInterface, "Next", {1, 2, 3}}, Case{playerInterface, "Seek", {}},
          Case{playerInterface, "Seek", {text("far")}}, Case{playerInterface, "Seek", {1.5}},
          Case{playerInterface, "SetPosition", {qlonglong{5}}},
          Case{playerInterface, "SetPosition", {text("/a"), qlonglong{5}}},
          Case{playerInterface, "OpenUri", {QByteArray("\xFF\xFE")}},
          Case{playerInterface, "Seeked", {qlonglong{5}}},
          Case{text("org.mpris.MediaPlayer2.TrackList"), "AddTrack", {}},
          Case{properties, "Get", {playerInterface, text("Nothing")}},
          Case{properties, "Get", {text("no.interface"), text("Volume")}},
          Case{properties, "Get", {playerInterface}},
          Case{properties, "Set", {playerInterface, text("Volume")}},
          Case{playerInterface, "deleteLater", {}}}) {
        const QDBusMessage answer =
            client_->call(name_, path, one.interface, text(one.method), one.arguments);
        EXPECT_EQ(answer.type(), QDBusMessage::ErrorMessage) << one.method;
    }
    EXPECT_EQ(client_->call(name_, text("/org/mpris"), playerInterface, text("Next")).type(),
              QDBusMessage::ErrorMessage);
    EXPECT_THAT(player_.log, IsEmpty());
    EXPECT_EQ(callPlayer("Next").type(), QDBusMessage::ReplyMessage);
}

TEST_F(MprisFaultTest, aFloodOfCallsIsWorkedOffInItsOrder) {
    service().updateNowPlaying(makeTrack(text("One")), 0, 200, true);
    ASSERT_TRUE(start());
    constexpr int calls = 20'000;
    for (int i = 0; i < calls; ++i) {
        QDBusMessage message =
            QDBusMessage::createMethodCall(name_, path, playerInterface, text("Seek"));
        message << qlonglong{i} * 1'000'000 - 60'000'000;
        client_->connection().send(message);
        service().playerChanged();
    }
    ASSERT_TRUE(spinUntil([this] { return player_.log.size() == calls; }));
    EXPECT_EQ(player_.log.front(), "seek 0");
    EXPECT_EQ(player_.log[100], "seek 100");
    EXPECT_EQ(player_.log.back(), "next");
    EXPECT_LT(idleLoad(), 0.2);
}

}  // namespace
}  // namespace halvenor::test
