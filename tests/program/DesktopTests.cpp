// The program on a desktop: a window manager, a session bus with clients, a second launch.
#include "program/ProgramFixture.h"

namespace halvenor::test {
namespace {

TEST_F(DesktopTest, closingTheWindowLeavesTheMusicAndAnotherLaunchBringsTheWindowBack) {
    start();
    playUntil(startPosition + 0.3);
    ASSERT_TRUE(display_.close("Halvenor"));
    ASSERT_TRUE(vanishes());
    EXPECT_TRUE(isPlayingOn());

    EXPECT_EQ(launchAgain().status, 0);
    EXPECT_TRUE(appears());
    EXPECT_TRUE(isPlayingOn());
    display_.minimise("Halvenor");
    ASSERT_TRUE(vanishes());
    EXPECT_EQ(launchAgain().status, 0);
    EXPECT_TRUE(appears());
    EXPECT_EQ(display_.windowCount("Halvenor"), 1);

    end();
    secondsHeardFrom(startPosition);
}

TEST_F(MediaKeyTest, steerThePlayer) {
    start();
    ASSERT_TRUE(becomes({"status"}, "Paused"));
    EXPECT_EQ(playerctl({"metadata", "xesam:url"}), urlOf("1.wav"));
    EXPECT_NEAR(std::stod(playerctl({"position"})), startPosition, 0.01);
    EXPECT_EQ(playerctl({"volume"}), "0.500000");
    EXPECT_EQ(playerctl({"loop"}), "Playlist");
    EXPECT_EQ(playerctl({"shuffle"}), "On");
    playerctl({"shuffle", "Off"});

    playerctl({"play"});
    ASSERT_TRUE(becomes({"status"}, "Playing"));
    EXPECT_TRUE(isPlayingOn());
    playerctl({"position", "20"});
    EXPECT_TRUE(comesTrue([&] { return storedPosition() >= 20; }));
    playerctl({"next"});
    EXPECT_TRUE(becomes({"metadata", "xesam:url"}, urlOf("2.wav")));
    playerctl({"previous"});
    EXPECT_TRUE(becomes({"metadata", "xesam:url"}, urlOf("1.wav")));
    playerctl({"pause"});
    EXPECT_TRUE(becomes({"status"}, "Paused"));
    playerctl({"volume", "0.25"});
    EXPECT_TRUE(comesTrue([&] { return settings().number("PlayerVolume") == 0.25; }));

    ASSERT_TRUE(display_.close("Halvenor"));
    ASSERT_TRUE(vanishes());
    BusClient client(*bus_);
    const auto root = [&](const QString& method) {
        return client
            .call(QStringLiteral("org.mpris.MediaPlayer2.halvenor"),
                  QStringLiteral("/org/mpris/MediaPlayer2"),
                  QStringLiteral("org.mpris.MediaPlayer2"), method)
            .type();
    };
    EXPECT_EQ(root(QStringLiteral("Raise")), QDBusMessage::ReplyMessage);
    EXPECT_TRUE(appears());
    EXPECT_EQ(root(QStringLiteral("Quit")), QDBusMessage::ReplyMessage);
    expectOrderlyEnd();
}

// A panel that starts after the program, as at a login.
TEST_F(MediaKeyTest, theNoteInALateTrayBringsTheWindowBack) {
    start();
    ASSERT_TRUE(becomes({"status"}, "Paused"));
    const ChildProcess panel(
        {.command = {"trayer", "--edge", "top", "--align", "left", "--widthtype", "pixel",
                     "--width", "100", "--height", "24"},
         .environment = environment()});
    ASSERT_TRUE(display_.close("Halvenor"));
    ASSERT_TRUE(vanishes());
    EXPECT_TRUE(comesTrue([&] {
        return display_.clickScreen(12, 12) &&
               comesTrue([&] { return display_.isShown("Halvenor"); }, std::chrono::seconds(1));
    }));
    end();
}

}  // namespace
}  // namespace halvenor::test
