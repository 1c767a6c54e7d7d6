#include <QApplication>
#include <QPalette>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <set>

#include "ui/ExampleLibrary.h"
#include "ui/controls/CoverCache.h"
#include "ui/symbols/Symbols.h"
#include "ui/theme/HalvenorTheme.h"
#include "ui/theme/ThemeInstaller.h"

namespace halvenor::test {
namespace {

class ActiveTheme : public testing::Test {
  protected:
    ~ActiveTheme() override { HalvenorTheme::active = AppTheme::halvenorDark; }
};

void expectColour(const QColor& colour, float red, float green, float blue, float opacity) {
    constexpr float step = 1.0F / 512;
    EXPECT_NEAR(colour.redF(), red, step);
    EXPECT_NEAR(colour.greenF(), green, step);
    EXPECT_NEAR(colour.blueF(), blue, step);
    EXPECT_NEAR(colour.alphaF(), opacity, step);
}

TEST_F(ActiveTheme, givesEachThemeItsOwnColours) {
    HalvenorTheme::active = AppTheme::systemDark;
    expectColour(HalvenorTheme::windowPlaybarSurface(), 0.149F, 0.157F, 0.165F, 0.54F);
    expectColour(HalvenorTheme::inactiveText(), 1, 1, 1, 0.4F);
    expectColour(HalvenorTheme::itemHoverBackground(), 0.125F, 0.133F, 0.141F, 1);
    EXPECT_EQ(HalvenorTheme::windowAlbumHeaderSurface().alpha(), 0);
    HalvenorTheme::active = AppTheme::systemLight;
    expectColour(HalvenorTheme::accent(), 0.216F, 0.318F, 0.529F, 1);
    expectColour(HalvenorTheme::mainText(), 0, 0, 0, 1);
    expectColour(HalvenorTheme::windowBackdrop(), 0.929F, 0.929F, 0.933F, 1);
    HalvenorTheme::active = AppTheme::halvenorDark;
    expectColour(HalvenorTheme::inactiveText(), 0.573F, 0.573F, 0.573F, 0.55F);
    expectColour(HalvenorTheme::itemHoverBackground(), 1, 1, 1, 0.03F);
}

// What is painted behind text must hide whatever was there before.
TEST_F(ActiveTheme, paintsPanesOpaque) {
    for (const AppTheme theme : allThemes) {
        HalvenorTheme::active = theme;
        for (const QColor& surface :
             {HalvenorTheme::windowSidebarSurface(), HalvenorTheme::windowToolbarSurface(),
              HalvenorTheme::windowTracklistSurface(), HalvenorTheme::windowAlbumHeaderSurface(),
              HalvenorTheme::windowPlaybarSurface()}) {
            EXPECT_EQ(HalvenorTheme::pane(surface).alpha(), 255);
        }
    }
}

TEST_F(ActiveTheme, isInPlaceBeforeAViewHearsOfTheChange) {
    const QTemporaryDir home;
    const auto state = makeState(FileUrl(home.path().toUtf8() + "/settings.json"));
    installTheme(*state, *qApp);
    EXPECT_EQ(HalvenorTheme::active, *state->selectedTheme);
    AppTheme seen = AppTheme::systemDark;
    const auto view =
        state->selectedTheme.subscribe([&](AppTheme) { seen = HalvenorTheme::active; });
    state->selectedTheme = AppTheme::systemLight;
    EXPECT_EQ(seen, AppTheme::systemLight);
    EXPECT_EQ(QApplication::palette().color(QPalette::Window).rgb(),
              HalvenorTheme::windowBackdrop().rgb());
}

// A misspelt name or a drawing that the renderer does not understand leaves a hole in the window.
TEST(Symbols, areDrawnTintedAndCrisp) {
    const char* names[] = {"play.circle.fill",
                           "pause.circle.fill",
                           "play.circle",
                           "backward.end.fill",
                           "forward.end.fill",
                           "shuffle",
                           "repeat",
                           "arrow.right.to.line",
                           "speaker.slash.fill",
                           "speaker.wave.2.fill",
                           "music.note",
                           "folder",
                           "folder.fill",
                           "magnifyingglass",
                           "checkmark.circle",
                           "checkmark.circle.fill",
                           "plus.circle",
                           "arrow.clockwise",
                           "list.bullet",
                           "ellipsis",
                           "rectangle.and.hand.point.up.left",
                           "photo",
                           "xmark",
                           "xmark.circle.fill",
                           "heart",
                           "heart.fill",
                           "list.bullet.rectangle",
                           "rectangle.grid.1x2",
                           "square.and.arrow.down",
                           "exclamationmark.triangle"};
    std::set<QByteArray> drawings;
    for (const char* name : names) {
        const QColor ink(10, 200, 90);
        const QPixmap pixmap = Symbols::pixmap(QString::fromLatin1(name), 18, 1.5, ink);
        EXPECT_EQ(pixmap.size(), QSize(27, 27));
        EXPECT_EQ(pixmap.devicePixelRatio(), 1.5);
        const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
        int inked = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (qAlpha(image.pixel(x, y)) == 255) {
                    ++inked;
                    EXPECT_EQ(image.pixel(x, y), ink.rgb()) << name;
                }
            }
        }
        EXPECT_GT(inked, 8) << name;
        EXPECT_LT(inked, 27 * 27 * 3 / 4) << name;
        drawings.insert(
            QByteArray(reinterpret_cast<const char*>(image.constBits()), image.sizeInBytes()));
    }
    EXPECT_EQ(drawings.size(), std::size(names)) << "two symbols look alike";
}

TEST(Covers, areCutToTheirShape) {
    const Artwork cover = exampleCover(100);
    const QImage image = decodeCover(cover.bytes(), {QSize(140, 140), 2, 8, true});
    EXPECT_EQ(image.size(), QSize(280, 280));
    EXPECT_EQ(qAlpha(image.pixel(0, 0)), 0) << "rounded corner";
    EXPECT_EQ(qAlpha(image.pixel(140, 140)), 255);
    EXPECT_TRUE(decodeCover("no image", {QSize(50, 50), 1, 0, true}).isNull());
    EXPECT_TRUE(decodeCover(cover.bytes().left(300), {QSize(0, 50), 1, 0, true}).isNull());
}

}  // namespace
}  // namespace halvenor::test
