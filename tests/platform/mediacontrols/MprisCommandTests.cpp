// What clients may ask for, over a real bus.
#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QDBusObjectPath>
#include <QXmlStreamReader>

#include <limits>

#include "MprisFixture.h"
#include "support/EventLoop.h"

namespace halvenor::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr qlonglong second = 1'000'000;
constexpr qlonglong farthest = std::numeric_limits<qlonglong>::max();

TEST_F(MprisTest, everyPropertyIsThereWithItsType) {
    service().updateNowPlaying(makeTrack(text("One")), 60, 200, false);
    ASSERT_TRUE(start());
    const auto typesOf = [this](const QString& interface) {
        std::vector<std::string> types;
        const QVariantMap values = properties(interface);
        for (auto value = values.begin(); value != values.end(); ++value) {
            types.push_back((value.key() + text(" ") + signatureOf(value.value())).toStdString());
        }
        return types;
    };
    EXPECT_THAT(
        typesOf(rootInterface),
        UnorderedElementsAre("CanQuit b", "CanRaise b", "HasTrackList b", "Identity s",
                             "DesktopEntry s", "SupportedUriSchemes as", "SupportedMimeTypes as"));
    EXPECT_THAT(typesOf(playerInterface),
                UnorderedElementsAre("PlaybackStatus s", "LoopStatus s", "Rate d", "Shuffle b",
                                     "Metadata a{sv}", "Volume d", "Position x", "MinimumRate d",
                                     "MaximumRate d", "CanGoNext b", "CanGoPrevious b", "CanPlay b",
                                     "CanPause b", "CanSeek b", "CanControl b"));
}

TEST_F(MprisTest, introspectionNamesEveryMemberWithItsArguments) {
    ASSERT_TRUE(start());
    const QDBusMessage answer =
        client_->call(name_, path, text("org.freedesktop.DBus.Introspectable"), text("Introspect"));
    std::vector<std::string> members;
    QString interface;
    QXmlStreamReader xml(answer.arguments().value(0).toString());
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement) {
            continue;
        }
        const QString name = xml.attributes().value(text("name")).toString();
        if (xml.name() == text("interface")) {
            interface = name;
        } else if (xml.name() == text("method") || xml.name() == text("signal")) {
            members.push_back(name.toStdString() + " ");
        } else if (xml.name() == text("arg") && interface.startsWith(text("org.mpris"))) {
            members.back() += xml.attributes().value(text("type")).toString().toStdString();
        }
    }
    EXPECT_THAT(members, testing::IsSupersetOf({"Raise ", "Quit ", "Next ", "Previous ", "Pause ",
                                                "PlayPause ", "Stop ", "Play ", "Seek x",
                                                "SetPosition ox", "OpenUri s", "Seeked x"}));
}

TEST_F(MprisTest, whatCanNotBeDoneHasNoEffect) {
    player_.state = {};
    service().updateNowPlaying(makeTrack(text("One")), 0, 200, false);
    ASSERT_TRUE(start());
    for (const char* method : {"Play", "Pause", "Next", "Previous"}) {
        EXPECT_EQ(callPlayer(method).type(), QDBusMessage::ReplyMessage) << method;
    }
    callPlayer("Seek", {5 * second});
    callPlayer("SetPosition",
               {QVariant::fromValue(QDBusObjectPath(text("/org/halvenor/track/1"))), 5 * second});
    // This one alone is an error.
    EXPECT_EQ(callPlayer("PlayPause").errorName(), text("org.freedesktop.DBus.Error.NotSupported"));
    EXPECT_THAT(player_.log, IsEmpty());
}

TEST_F(MprisTest, seeksLandInsideTheTrackOrInTheNext) {
    service().updateNowPlaying(makeTrack(text("One")), 60, 200, false);
    ASSERT_TRUE(start());
    struct Case {
        qlonglong offset;
        const char* expected;
    };
    for (const auto& [offset, expected] :
         {Case{10 * second, "seek 70"}, Case{-10 * second, "seek 50"}, Case{0, "seek 60"},
          Case{-61 * second, "seek 0"}, Case{140 * second, "seek 200"}, Case{141 * second, "next"},
          Case{farthest, "next"}, Case{std::numeric_limits<qlonglong>::min(), "seek 0"}}) {
        player_.log.clear();
        callPlayer("Seek", {offset});
        EXPECT_THAT(player_.log, ElementsAre(expected)) << offset;
    }
}

TEST_F(MprisTest, positionsAreSetInTheTrackThatTheClientMeans) {
    service().updateNowPlaying(makeTrack(text("Earlier")), 0, 200, false);
    ASSERT_TRUE(start());
    const QVariant stale = metadata("mpris:trackid");
    service().updateNowPlaying(makeTrack(text("One")), 60, 200, false);
    const QVariant current = metadata("mpris:trackid");
    ASSERT_NE(stale.value<QDBusObjectPath>(), current.value<QDBusObjectPath>());
    callPlayer("SetPosition", {current, 12 * second + second / 2});
    callPlayer("SetPosition", {current, qlonglong{0}});
    callPlayer("SetPosition", {current, 200 * second});
    EXPECT_THAT(player_.log, ElementsAre("seek 12.5", "seek 0", "seek 200"));
    player_.log.clear();
    callPlayer("SetPosition", {stale, 12 * second});
    for (const qlonglong outside : {qlonglong{-1}, -farthest, 200 * second + 1, farthest}) {
        callPlayer("SetPosition", {current, outside});
    }
    EXPECT_THAT(player_.log, IsEmpty());
}

TEST_F(MprisTest, writtenPropertiesReachThePlayer) {
    ASSERT_TRUE(start());
    struct Case {
        const char* name;
        QVariant value;
        std::vector<std::string> expected;
    };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const Case& one :
         {Case{"Volume", 0.25, {"volume 0.25"}}, Case{"Volume", -3.0, {"volume 0"}},
          Case{"Volume", 1e300, {"volume 1"}}, Case{"Volume", nan, {}},
          Case{"Shuffle", true, {"shuffle 1"}}, Case{"LoopStatus", text("Track"), {"loop 1"}},
          Case{"LoopStatus", text("Playlist"), {"loop 2"}},
          Case{"LoopStatus", text("None"), {"loop 0"}}, Case{"LoopStatus", text("playlist"), {}},
          Case{"LoopStatus", QString(), {}}, Case{"Rate", 2.0, {}}, Case{"Rate", 0.0, {"pause"}}}) {
        player_.log.clear();
        EXPECT_EQ(setProperty(one.name, one.value), QString()) << one.name;
        EXPECT_EQ(player_.log, one.expected) << one.name;
    }
    EXPECT_EQ(property("Rate"), QVariant(1.0));
}

TEST_F(MprisTest, valuesOfAnotherTypeAndReadOnlyPropertiesAreRefused) {
    ASSERT_TRUE(start());
    for (const auto& [name, value] : std::initializer_list<std::pair<const char*, QVariant>>{
             {"Volume", text("loud")},
             {"Volume", QStringList(text("0.5"))},
             {"Shuffle", QStringList()},
             {"LoopStatus", QVariantMap()},
             {"Position", qlonglong{5}},
             {"PlaybackStatus", text("Playing")},
             {"Metadata", QVariantMap()},
             {"Nonsense", 1}}) {
        EXPECT_NE(setProperty(name, value), QString()) << name;
    }
    EXPECT_THAT(player_.log, IsEmpty());
}

TEST_F(MprisTest, filesAreOpenedByTheirAddress) {
    ASSERT_TRUE(start());
    struct Case {
        const char* address;
        std::vector<std::string> expected;
    };
    for (const auto& [address, expected] :
         {Case{"file:///music/a%20b.mp3", {"open /music/a b.mp3"}},
          Case{"file:///music/./x/..", {"open /music"}},
          Case{"file:///music/%E9", {"open /music/\xE9"}}, Case{"http://127.0.0.1/a.mp3", {}},
          Case{"/music", {}}, Case{"", {}}, Case{"file:///%00", {}}}) {
        player_.log.clear();
        const QDBusMessage answer = callPlayer("OpenUri", {text(address)});
        EXPECT_EQ(player_.log, expected) << address;
        EXPECT_EQ(answer.type() == QDBusMessage::ErrorMessage, expected.empty()) << address;
    }
    EXPECT_EQ(properties(rootInterface).value(text("SupportedUriSchemes")),
              QVariant(QStringList(text("file"))));
}

TEST_F(MprisTest, whatThePlayerDoesNotOfferIsNotOffered) {
    MediaPlayer bare;
    bare.state = [this] { return player_.state; };
    service().setupPlayer(bare);
    ASSERT_TRUE(start());
    const QVariantMap root = properties(rootInterface);
    for (const char* name : {"CanQuit", "CanRaise"}) {
        EXPECT_FALSE(root.value(text(name)).toBool()) << name;
    }
    EXPECT_THAT(root.value(text("SupportedUriSchemes")).toStringList(), IsEmpty());
    EXPECT_THAT(root.value(text("SupportedMimeTypes")).toStringList(), IsEmpty());
    EXPECT_FALSE(property("CanSeek").toBool());
    EXPECT_NE(callPlayer("OpenUri", {text("file:///music")}).errorName(), QString());
    callPlayer("Stop");
    callPlayer("Seek", {second});
    callRoot("Raise");
    for (const auto& [name, value] : std::initializer_list<std::pair<const char*, QVariant>>{
             {"Volume", 0.1}, {"Shuffle", true}, {"LoopStatus", text("Track")}}) {
        EXPECT_EQ(setProperty(name, value), QString()) << name;
    }
    EXPECT_THAT(player_.log, IsEmpty());
}

// One message on the bus from a program of its own, and an event loop with nothing else to do: the
// turn that the message wakes is the turn in which the player acts.
TEST_F(MprisTest, aMediaKeyActsInTheTurnInWhichItArrives) {
    ASSERT_TRUE(start());
    client_.reset();
    spinFor(50ms);
    QAbstractEventDispatcher* const loop = QAbstractEventDispatcher::instance();
    loop->processEvents(QEventLoop::AllEvents);
    const ChildProcess sender(
        {.command = {"dbus-send", "--type=method_call", "--dest=" + name_.toStdString(),
                     path.toStdString(), "org.mpris.MediaPlayer2.Player.PlayPause"}});
    loop->processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    EXPECT_THAT(player_.log, ElementsAre("toggle"));
}

TEST_F(MprisTest, playerctlDrivesIt) {
    player_.state.status = PlaybackStatus::playing;
    player_.state.loopMode = LoopMode::playlist;
    TrackFields fields;
    fields.url = FileUrl("/music/\xE9t\xE9.flac");
    fields.title = QStringLiteral("Été");
    fields.artist = QStringLiteral("Ä & Ö");
    fields.album = QStringLiteral("Album");
    service().updateNowPlaying(Track(fields), 60, 200.5, true);
    ASSERT_TRUE(start());
    const auto playerctl = [this](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"playerctl", "--player=halvenor"});
        return run(arguments).trimmed().toStdString();
    };
    EXPECT_EQ(playerctl({"status"}), "Playing");
    EXPECT_THAT(playerctl({"position"}), testing::StartsWith("60.0"));
    EXPECT_EQ(playerctl({"volume"}), "0.500000");
    EXPECT_EQ(playerctl({"loop"}), "Playlist");
    EXPECT_EQ(playerctl({"shuffle"}), "Off");
    EXPECT_EQ(playerctl({"metadata", "--format",
                         "{{title}}|{{artist}}|{{album}}|{{mpris:length}}|{{xesam:url}}"}),
              "Été|Ä & Ö|Album|200500000|file:///music/%E9t%E9.flac");
    for (const char* command : {"play-pause", "play", "next", "previous", "pause", "stop"}) {
        playerctl({command});
    }
    for (const auto& [command, argument] : {std::pair{"position", "30"},
                                            {"position", "5+"},
                                            {"volume", "0.25"},
                                            {"shuffle", "On"},
                                            {"loop", "Track"},
                                            {"open", "file:///music/a.mp3"}}) {
        playerctl({command, argument});
    }
    // What it has no words for.
    for (const char* method : {"Raise", "Quit"}) {
        EXPECT_EQ(callRoot(method).type(), QDBusMessage::ReplyMessage) << method;
    }
    EXPECT_THAT(player_.log, ElementsAre("toggle", "play", "next", "previous", "pause", "stop",
                                         "seek 30", "seek 65", "volume 0.25", "shuffle 1", "loop 1",
                                         "open /music/a.mp3", "raise", "quit"));
}

}  // namespace
}  // namespace halvenor::test
