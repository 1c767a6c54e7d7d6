// The program on a Wayland compositor, as most desktops have one: no X server, no window manager.
#include <QDir>
#include <QImage>

#include "program/ProgramFixture.h"

namespace halvenor::test {
namespace {

class WaylandTest : public ProgramTest {
  protected:
    WaylandTest() {
        variables_["DISPLAY"] = "";
        variables_["WAYLAND_DISPLAY"] = "wayland-test";
        variables_["QT_QPA_PLATFORM"] = "wayland";
        compositor_ =
            ChildProcess({.command = {"weston", "--backend=headless-backend.so", "--use-pixman",
                                      "--width=1280", "--height=800", "--no-config",
                                      "--idle-time=0", "--debug", "--socket=wayland-test"},
                          .environment = environment()});
        home_.makeFolder("pictures");
    }

    /// The screen as it is now; null while the compositor does not answer.
    QImage picture() const {
        QDir folder(QString::fromLocal8Bit(home_.path("pictures")));
        for (const QString& old : folder.entryList(QDir::Files)) {
            folder.remove(old);
        }
        runToEnd({.command = {"sh", "-c", "cd \"$0\" && exec weston-screenshooter",
                              home_.path("pictures").toStdString()},
                  .environment = environment()});
        return QImage(folder.filePath(folder.entryList(QDir::Files).value(0)));
    }

    ChildProcess compositor_;
};

TEST_F(WaylandTest, theWindowShowsAndAnotherLaunchPlays) {
    QImage bare;
    ASSERT_TRUE(comesTrue([&] { return !(bare = picture()).isNull(); }));
    start();
    EXPECT_TRUE(comesTrue([&] {
        const QImage now = picture();
        int changed = 0;
        for (int x = 0; x < now.width(); ++x) {
            changed += now.pixel(x, now.height() / 2) != bare.pixel(x, now.height() / 2);
        }
        return changed > bare.width() / 2;
    }));
    const ProgramResult launch = launchAgain({track().path().toStdString()});
    EXPECT_EQ(launch.status, 0) << launch.error.constData();
    EXPECT_TRUE(
        comesTrue([&] { return storedPosition() > 0.3 && storedPosition() < startPosition; }));
    end();
    EXPECT_GT(secondsHeardFrom(0), 0.3);
}

}  // namespace
}  // namespace halvenor::test
