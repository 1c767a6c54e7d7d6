// What the program does with its arguments, alone and while another process of it runs.
#include "program/ProgramFixture.h"

namespace halvenor::test {
namespace {

class ArgumentTest : public DesktopTest {
  protected:
    /// Runs the program in the folder lib/album until it ends. Its errors are in the output.
    ProgramResult run(const std::string& arguments, const Variables& variables) const {
        const std::string command = "cd \"$HOME/lib/album\" && exec \"$0\" " + arguments + " 2>&1";
        return runToEnd({.command = {"timeout", "20", "sh", "-c", command, HALVENOR_PROGRAM},
                         .environment = variables});
    }
    void startWith(const std::string& argument) {
        program_ =
            ChildProcess({.command = {HALVENOR_PROGRAM, argument}, .environment = environment()});
    }
    QByteArray lastTrack() const {
        return settings().path("PlayerLastTrackPath").value_or(QByteArray());
    }
    bool hasLocation(const QByteArray& path) const {
        return settings().paths("LibraryFolderPaths").value_or(QList<QByteArray>()).contains(path);
    }
};

TEST_F(ArgumentTest, helpVersionAndMistakesNeedNoDisplay) {
    Variables bare = environment();
    bare["DISPLAY"] = bare["WAYLAND_DISPLAY"] = bare["QT_QPA_PLATFORM"] = "";
    EXPECT_EQ(run("--version", bare).output, "halvenor " HALVENOR_VERSION "\n");
    const ProgramResult help = run("--help", bare);
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.output.startsWith("Usage: halvenor")) << help.output.toStdString();
    const ProgramResult mistake = run("--nonsense", bare);
    EXPECT_EQ(mistake.status, 2);
    EXPECT_TRUE(mistake.output.contains("--nonsense"));
}

TEST_F(ArgumentTest, aFileOfTheFirstLaunchPlaysAndALaterLaunchHandsOverItsOwn) {
    startWith(home_.path("lib/album/2.wav").toStdString());
    EXPECT_TRUE(comesTrue([&] { return lastTrack() == home_.path("lib/album/2.wav"); }));
    EXPECT_TRUE(isPlayingOn());

    // Named relative to where the later launch stands; the name is no text.
    const QByteArray name = "3 \xff.wav";
    mediaKind("wav s16").write(home_.at("lib/album/" + name), music_);
    EXPECT_EQ(run("3*.wav", environment()).status, 0);
    EXPECT_TRUE(comesTrue([&] { return lastTrack() == home_.path("lib/album/" + name); }));
    EXPECT_TRUE(isPlayingOn());

    home_.makeFolder("other");
    EXPECT_EQ(run("../../other", environment()).status, 0);
    EXPECT_TRUE(comesTrue([&] { return hasLocation(home_.path("other")); }));
    EXPECT_TRUE(hasLocation(home_.path("lib")));
    EXPECT_TRUE(isPlayingOn());
    end();
}

TEST_F(ArgumentTest, aFolderOfTheFirstLaunchBecomesALocation) {
    home_.makeFolder("other");
    startWith(home_.at("other").encoded().toStdString());
    EXPECT_TRUE(comesTrue([&] { return hasLocation(home_.path("other")); }));
    EXPECT_TRUE(appears());
    end();
    EXPECT_EQ(lastTrack(), track().path());
}

}  // namespace
}  // namespace halvenor::test
