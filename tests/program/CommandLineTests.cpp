// What the program does with its arguments, alone and while another process of it runs.
#include <csignal>
#include <fstream>
#include <sstream>

#include "program/DesktopFixture.h"

namespace halvenor::test {
namespace {

class ArgumentTest : public DesktopTest {
  protected:
    struct Result {
        int exitCode;
        std::string printed;
    };

    /// Runs the program in the folder lib/album until it ends.
    Result run(const std::string& arguments, std::map<std::string, std::string> variables) {
        const std::string file = home_.path("printed").toStdString();
        const std::string command = "cd \"$HOME/lib/album\" && exec \"$0\" " + arguments + " 2>&1";
        ChildProcess process({.command = {"sh", "-c", command, HALVENOR_PROGRAM},
                              .environment = std::move(variables),
                              .outputFile = file});
        const int exitCode = process.waitFor(std::chrono::seconds(20)).value_or(-2);
        std::ostringstream printed;
        printed << std::ifstream(file).rdbuf();
        return {exitCode, printed.str()};
    }
    void startWith(const std::string& argument) {
        program_ =
            ChildProcess({.command = {HALVENOR_PROGRAM, argument}, .environment = environment()});
    }
    QByteArray lastTrack() const {
        return Settings(settingsFile()).path("PlayerLastTrackPath").value_or(QByteArray());
    }
    bool hasLocation(const QByteArray& path) const {
        return Settings(settingsFile())
            .paths("LibraryFolderPaths")
            .value_or(QList<QByteArray>())
            .contains(path);
    }
};

TEST_F(ArgumentTest, helpVersionAndMistakesNeedNoDisplay) {
    auto bare = environment();
    bare["DISPLAY"] = bare["WAYLAND_DISPLAY"] = bare["QT_QPA_PLATFORM"] = "";
    EXPECT_EQ(run("--version", bare).printed, "halvenor " HALVENOR_VERSION "\n");
    const Result help = run("--help", bare);
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.printed.starts_with("Usage: halvenor")) << help.printed;
    const Result mistake = run("--nonsense", bare);
    EXPECT_EQ(mistake.exitCode, 2);
    EXPECT_NE(mistake.printed.find("--nonsense"), std::string::npos);
}

TEST_F(ArgumentTest, aFileOfTheFirstLaunchPlaysAndALaterLaunchHandsOverItsOwn) {
    startWith(home_.path("lib/album/2.wav").toStdString());
    EXPECT_TRUE(comesTrue([&] { return lastTrack() == home_.path("lib/album/2.wav"); }));
    EXPECT_TRUE(isPlayingOn());

    // Named relative to where the later launch stands; the name is no text.
    const QByteArray name = "3 \xff.wav";
    mediaKind("wav s16").write(home_.at("lib/album/" + name), music_);
    EXPECT_EQ(run("3*.wav", environment()).exitCode, 0);
    EXPECT_TRUE(comesTrue([&] { return lastTrack() == home_.path("lib/album/" + name); }));
    EXPECT_TRUE(isPlayingOn());

    home_.makeFolder("other");
    EXPECT_EQ(run("../../other", environment()).exitCode, 0);
    EXPECT_TRUE(comesTrue([&] { return hasLocation(home_.path("other")); }));
    EXPECT_TRUE(hasLocation(home_.path("lib")));
    EXPECT_TRUE(isPlayingOn());
    send(SIGTERM);
    expectOrderlyEnd();
}

TEST_F(ArgumentTest, aFolderOfTheFirstLaunchBecomesALocation) {
    home_.makeFolder("other");
    startWith(home_.at("other").encoded().toStdString());
    EXPECT_TRUE(comesTrue([&] { return hasLocation(home_.path("other")); }));
    EXPECT_TRUE(comesTrue([&] { return display_.isShown("Halvenor"); }));
    send(SIGTERM);
    expectOrderlyEnd();
    EXPECT_EQ(lastTrack(), track().path());
}

}  // namespace
}  // namespace halvenor::test
