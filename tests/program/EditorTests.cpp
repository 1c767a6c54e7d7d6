// Tags are edited as a user does it: by the keyboard, in the real window. Another program reads
// what is in the file then.
#include <csignal>

#include "program/DesktopFixture.h"

namespace halvenor::test {
namespace {

class EditorProgramTest : public MediaKeyTest {
  protected:
    EditorProgramTest() { mediaKind("flac 16").write(song(), music_.part(0, rate)); }

    FileUrl song() const { return home_.at("lib/album/3.flac"); }
    QByteArray storedTitle() const {
        return runProgram({QStringLiteral("metaflac"), QStringLiteral("--show-tag=TITLE"),
                           QString::fromUtf8(song().path())})
            .trimmed();
    }
    // In the track list, whatever lies there.
    void clickIntoTheList() {
        const int status =
            ChildProcess({.command = {"xdotool", "search", "--onlyvisible", "--name", "^Halvenor$",
                                      "mousemove", "--window", "%1", "700", "222", "click", "1"},
                          .environment = environment()})
                .wait();
        ASSERT_EQ(status, 0);
    }
};

TEST_F(EditorProgramTest, aTitleIsTypedAndSaved) {
    start();
    ASSERT_TRUE(becomes({"metadata", "xesam:url"}, urlOf("1.wav")));
    clickIntoTheList();
    for (const char* key : {"End", "Menu", "Up", "Return",  // the menu's last entry
                            "n", "e", "w", "space", "m", "Return"}) {
        press(key);
    }
    EXPECT_TRUE(comesTrue([&] { return storedTitle() == "TITLE=new m"; }))
        << storedTitle().toStdString();
    EXPECT_EQ(playerctl({"status"}), "Paused") << "what is typed into a field is no command";

    press("Return");  // The list has the focus again: it plays the row, as the list knows it.
    EXPECT_TRUE(becomes({"metadata", "xesam:url"}, urlOf("3.flac")));
    EXPECT_TRUE(becomes({"metadata", "xesam:title"}, "new m"));
    send(SIGTERM);
    expectOrderlyEnd();
}

}  // namespace
}  // namespace halvenor::test
