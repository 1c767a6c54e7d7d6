// The whole program from outside, as somebody uses it who has just got it: a folder is added and
// played, the look is changed, Cover Mode and every page of the settings are visited, and it is
// quit. Done at one and at two device pixels to the pixel, with pictures on the way: where
// HALVENOR_SCREENSHOTS names a folder they are kept there.
#include <QDir>
#include <QImage>

#include <array>
#include <cmath>

#include "program/ProgramFixture.h"
#include "ui/ExampleLibrary.h"

namespace halvenor::test {
namespace {

using namespace std::chrono_literals;

struct Point {
    int x, y;
};

/// Where things lie in the window, 1100 by 700, in device-independent pixels.
namespace places {
constexpr Point browse{165, 265};
constexpr Point secondRow{300, 96};
constexpr Point thirdTrack{600, 310};
constexpr Point segments[] = {{354, 302}, {550, 302}, {746, 302}};
constexpr Point tabs[] = {{310, 150}, {430, 150}, {550, 150}, {670, 150}, {790, 150}};
constexpr Point closeSettings{839, 90};
constexpr Point pane{1080, 190};
}  // namespace places

struct Theme {
    const char* name;
    const char* file;
    QRgb trackList;  ///< the colour behind the tracks
};
constexpr std::array themes{Theme{"Halvenor Dark", "halvenor-dark", qRgb(10, 11, 11)},
                            Theme{"System Dark", "system-dark", qRgb(29, 31, 33)},
                            Theme{"System Light", "system-light", qRgb(245, 245, 245)}};

class EndToEnd : public HomeTest, public testing::WithParamInterface<int> {
  protected:
    EndToEnd() : HomeTest(1280 * scale(), 800 * scale()) {
        variables_["QT_SCALE_FACTOR"] = std::to_string(scale());
        display_.startWindowManager();
        startBus();
        for (const char* name : {"2019 - Tidal Rooms", "2022 - Slack Water"}) {
            makeAlbum(QByteArray("Music/Glass Harbour/") + name);
        }
        home_.makeFolder("Music/Nachtzug");
        pictures_ =
            qEnvironmentVariable("HALVENOR_SCREENSHOTS", QString::fromUtf8(home_.url().path()));
        QDir().mkpath(pictures_);
    }

    static int scale() { return GetParam(); }

    // Music that swells and falls, so that its waveform looks like some.
    static Signal makeSong() {
        Signal song = makeSignal(int64_t{20} * rate);
        const auto channels = static_cast<size_t>(song.channels);
        double level = 0.4;
        unsigned noise = 1;
        for (size_t i = 0; i < song.samples.size(); ++i) {
            const size_t frame = i / channels;
            if (i % channels == 0 && frame % 2205 == 0) {
                noise = noise * 1664525U + 1013904223U;
                const double part = static_cast<double>(frame) / static_cast<double>(rate * 20);
                const double swell = 0.55 + 0.35 * std::sin(part * 9) * std::sin(part * 23);
                level = swell * (0.45 + 0.55 * static_cast<double>(noise >> 16U) / 65536.0);
            }
            song.samples[i] *= static_cast<float>(level);
        }
        return song;
    }

    void makeAlbum(const QByteArray& folder) {
        home_.makeFolder(folder);
        home_.makeFile("cover.png", exampleCover(205).bytes());
        int number = 0;
        for (const char* title : {"Undertow", "Rooms by the Water", "Low Light, High Tide",
                                  "Harbour Bells", "海の部屋", "Salt Hymn"}) {
            const QByteArray file =
                folder + '/' + QByteArray::number(++number) + " " + title + ".flac";
            mediaKind("flac 16").write(home_.at(file), music_.part(0, 20 * rate));
            const std::vector<std::string> command{
                "metaflac",
                "--remove-all-tags",
                "--import-picture-from=" + home_.path("cover.png").toStdString(),
                "--set-tag=TITLE=" + std::string(title),
                "--set-tag=ARTIST=Glass Harbour",
                "--set-tag=ALBUM=Tidal Rooms",
                "--set-tag=ALBUMARTIST=Glass Harbour",
                "--set-tag=DATE=2019",
                "--set-tag=TRACKNUMBER=" + std::to_string(number),
                home_.path(file).toStdString()};
            EXPECT_EQ(runToEnd({.command = command}).status, 0);
        }
    }

    void start() {
        program_ = ChildProcess({.command = {HALVENOR_PROGRAM}, .environment = environment()});
        ASSERT_TRUE(appears());
        QThread::msleep(600);
    }

    void click(const Point& place, int times = 1, int button = 1) {
        ASSERT_TRUE(
            display_.click("Halvenor", place.x * scale(), place.y * scale(), times, button));
    }
    void type(const QByteArray& text) { ASSERT_TRUE(display_.type(text.toStdString())); }

    // A picture of the window or, with what lies over it, of the screen.
    enum class Of { window, screen };
    QImage picture(const QString& name, Of what = Of::window) {
        QThread::msleep(500);
        const QString file = QStringLiteral("%1/%2@%3x.png").arg(pictures_, name).arg(scale());
        const std::string window = what == Of::screen ? "root" : display_.windowId("Halvenor");
        EXPECT_EQ(runToEnd({.command = {"import", "-window", window, file.toStdString()},
                            .environment = environment()})
                      .status,
                  0);
        return QImage(file);
    }
    void pictureMenu() {
        click(places::thirdTrack, 1, 3);
        picture(QStringLiteral("track-menu"), Of::screen);
        for (const char* key : {"Up", "Return"}) {  // its last entry
            ASSERT_TRUE(display_.typeKey(key));
        }
        picture(QStringLiteral("tag-editor"));
        ASSERT_TRUE(display_.typeKey("Escape"));
    }
    QRgb colourAt(const QImage& image, const Point& place) {
        return image.pixel(place.x * scale(), place.y * scale());
    }

    Signal music_ = makeSong();
    QString pictures_;
};

TEST_P(EndToEnd, isUsedFromTheFirstStartToTheEnd) {
    start();
    picture(QStringLiteral("empty"));
    click(places::browse);
    ASSERT_TRUE(appears("Add Folder"));
    ASSERT_TRUE(display_.focus("Add Folder"));
    type(home_.path("Music"));
    ASSERT_TRUE(display_.press("Add Folder", "Return"));
    ASSERT_TRUE(vanishes("Add Folder"));
    ASSERT_TRUE(comesTrue([&] { return settings().contains("LibraryFolderPaths"); }));

    // Down the tree by keys: Music, Glass Harbour, its first album.
    QThread::msleep(500);
    click({150, 68});
    for (const char* key : {"Right", "Right", "Right", "Right"}) {
        press(key);
        QThread::msleep(250);
    }
    picture(QStringLiteral("folder"));
    click(places::thirdTrack, 2);
    ASSERT_TRUE(becomes({"status"}, "Playing"));
    EXPECT_TRUE(becomes({"metadata", "xesam:title"}, "Low Light, High Tide"));
    press("l");

    for (size_t i = 0; i < themes.size(); ++i) {
        const Theme& theme = themes[i];
        press("F10");
        QThread::msleep(300);
        click(places::segments[i]);
        EXPECT_TRUE(comesTrue([&] {
            return settings().string("SelectedTheme") == QString::fromUtf8(theme.name);
        })) << theme.name;
        for (size_t tab = 0; tab < std::size(places::tabs); ++tab) {
            click(places::tabs[tab]);
            picture(QStringLiteral("settings-%1-%2").arg(tab).arg(QLatin1String(theme.file)));
        }
        click(places::tabs[0]);
        click(places::closeSettings);
        const QImage window = picture(QStringLiteral("window-") + QLatin1String(theme.file));
        EXPECT_EQ(colourAt(window, places::pane), theme.trackList) << theme.name;
        if (theme.trackList == themes[0].trackList) {
            pictureMenu();
        }
        press("h");
        picture(QStringLiteral("history-") + QLatin1String(theme.file));
        press("h");
        press("c");
        const QImage cover = picture(QStringLiteral("cover-mode-") + QLatin1String(theme.file));
        EXPECT_EQ(cover.size(), QSize(1280, 800) * scale()) << "the whole screen";
        EXPECT_EQ(cover.pixel(4, 4), QColor(Qt::black).rgb());
        press("c");
        EXPECT_TRUE(comesTrue([&] { return display_.widthOf("Halvenor") == 1100 * scale(); }));
    }
    EXPECT_EQ(playerctl({"status"}), "Playing") << "through all of it";
    press("m");
    EXPECT_TRUE(becomes({"volume"}, "0.000000"));
    press("m");
    EXPECT_TRUE(becomes({"volume"}, "1.000000"));

    // Keys are places: on a Russian layout the key of H is another letter.
    display_.setKeyboardLayout("ru");
    ASSERT_TRUE(display_.pressKeyAt("Halvenor", 58));  // where M is
    EXPECT_TRUE(becomes({"volume"}, "0.000000"));
    display_.setKeyboardLayout("us");

    playerctl({"stop"});
    end();
    EXPECT_EQ(settings().string("PlayerRepeatMode"), QStringLiteral("off"));
}

INSTANTIATE_TEST_SUITE_P(Scales, EndToEnd, testing::Values(1, 2),
                         [](const auto& one) { return std::to_string(one.param) + "x"; });

}  // namespace
}  // namespace halvenor::test
