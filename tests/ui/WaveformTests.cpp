#include <QPainter>

#include <numbers>

#include "ui/WindowFixture.h"
#include "ui/controls/Motion.h"
#include "ui/waveform/EnvelopePath.h"
#include "ui/waveform/LiquidTitanWaveform.h"
#include "ui/waveform/WaveformView.h"

namespace halvenor::test {
namespace {

class WaveformViewTest : public testing::Test {
  protected:
    WaveformViewTest() {
        view.resize(200, 40);
        view.setSurface([] { return QColor(Qt::black); });
        view.onValueWished = [this](double progress) { seeks.push_back(progress); };
        view.setPeaks(QList<float>(160, 1.0F));
        view.show();
        QApplication::setActiveWindow(&view);
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&view));
    }
    QRgb at(int x, int y = 20) { return view.grab().toImage().pixel(x, y); }

    WaveformView view{QStringLiteral("Position"), nullptr};
    std::vector<double> seeks;
};

TEST_F(WaveformViewTest, seeksOnceWhenThePointerIsLetGo) {
    QTest::mousePress(&view, Qt::LeftButton, {}, {50, 10});
    QTest::mouseMove(&view, {120, 10});
    EXPECT_TRUE(seeks.empty());
    EXPECT_EQ(view.effectiveProgress(), 0.6) << "the place under the pointer shows";
    EXPECT_EQ(view.value(), 0);
    QTest::mouseMove(&view, {500, 10});
    EXPECT_EQ(view.effectiveProgress(), 1);
    QTest::mouseMove(&view, {-5, 10});
    EXPECT_EQ(view.effectiveProgress(), 0);
    QTest::mouseRelease(&view, Qt::LeftButton, {}, {150, 10});
    QTest::mouseClick(&view, Qt::LeftButton, {}, {20, 39});
    EXPECT_THAT(seeks, testing::ElementsAre(0.75, 0.1));
    EXPECT_EQ(view.effectiveProgress(), 0) << "what plays is told by its owner";
    view.onValueWished = nullptr;
    QTest::mouseClick(&view, Qt::LeftButton, {}, {20, 10});
}

TEST_F(WaveformViewTest, keysSeekByItsStep) {
    view.setStep(0.25);
    view.setProgress(0.5);
    for (const Qt::Key key : {Qt::Key_Left, Qt::Key_Right, Qt::Key_Home, Qt::Key_End}) {
        QTest::keyClick(&view, key);
    }
    view.setProgress(0.1);
    QTest::keyClick(&view, Qt::Key_Left);
    EXPECT_THAT(seeks, testing::ElementsAre(0.25, 0.75, 0, 1, 0));
}

TEST_F(WaveformViewTest, drawsThePlayedPartInItsOwnColour) {
    for (const AppTheme theme : allThemes) {
        HalvenorTheme::active = theme;
        view.setProgress(0.5);
        view.update();
        EXPECT_EQ(at(20), HalvenorTheme::waveformPlayed().rgb());
        EXPECT_EQ(at(180), HalvenorTheme::waveformUnplayed().rgb());
        EXPECT_EQ(at(20, 0), QColor(Qt::black).rgb()) << "5 per cent of head room";
    }
    HalvenorTheme::active = AppTheme::halvenorDark;
    view.setPeaks({});
    EXPECT_EQ(at(20), HalvenorTheme::waveformPlayed().rgb()) << "a thin line for what is missing";
    EXPECT_EQ(at(20, 10), QColor(Qt::black).rgb());
    view.setPeaks({1.0F});
    EXPECT_EQ(at(20), QColor(Qt::black).rgb());
}

// What the layered drawing must come to: metal, then sheen, then rim.
TEST_F(WaveformViewTest, theSheenLiesOnTheMetalAndInsideTheShape) {
    LiquidTitanWaveform metal;
    const QSizeF size(200, 40);
    metal.setShape(envelopePath(QList<float>(160, 0.5F), 200, 40), size, 1);
    const auto pixel = [&](double elapsed, bool played, int x, int y) {
        QImage image(200, 40, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::black);
        QPainter painter(&image);
        metal.paint(painter, QRectF(QPointF(), size), elapsed, played);
        painter.end();
        return image.pixelColor(x, y);
    };
    // sin(2 pi t / 12 - 0.8) is 1 at this time: the sheen's middle is at 92 per cent of the width.
    const double right = (std::numbers::pi / 2 + 0.8) * 12 / (2 * std::numbers::pi);
    const QColor bare = pixel(right, true, 10, 20);
    const QColor lit = pixel(right, true, 184, 20);
    const auto over = [](int base, double sheen, double strength) {
        return base * (1 - strength) + 255 * sheen * strength;
    };
    EXPECT_NEAR(lit.red(), over(bare.red(), 0.86, 0.36), 3);
    EXPECT_NEAR(lit.blue(), over(bare.blue(), 0.98, 0.36), 3);
    EXPECT_EQ(pixel(right, true, 184, 5), QColor(Qt::black)) << "outside the shape";
    EXPECT_LT(pixel(right, false, 184, 20).red(), lit.red()) << "graphite is darker";
    EXPECT_EQ(pixel(right, true, 10, 20), pixel(right + 12, true, 10, 20)) << "a round";
    EXPECT_FALSE(metal.sheenRect(right).contains(10, 20));
}

TEST_F(WaveformViewTest, movesOnlyWhileMusicPlaysAndSomebodyCanSeeIt) {
    using Appearance = WaveformView::Appearance;
    struct Case {
        const char* what;
        Appearance appearance = Appearance::liquidTitan;
        bool isPlaying = true;
        bool hasPeaks = true;
        bool isReduced = false;
        bool isShown = true;
        bool moves = false;
    };
    const Case cases[] = {{.what = "all is right", .moves = true},
                          {.what = "plain", .appearance = Appearance::standard},
                          {.what = "paused", .isPlaying = false},
                          {.what = "no peaks", .hasPeaks = false},
                          {.what = "reduced motion", .isReduced = true},
                          {.what = "hidden", .isShown = false},
                          {.what = "all is right again", .moves = true}};
    ASSERT_TRUE(
        spinUntil([] { return QGuiApplication::applicationState() == Qt::ApplicationActive; }));
    for (const Case& c : cases) {
        view.setAppearance(c.appearance);
        view.setPlaying(c.isPlaying);
        view.setPeaks(c.hasPeaks ? QList<float>(160, 1.0F) : QList<float>());
        Motion::isReduced() = c.isReduced;
        view.setVisible(c.isShown);
        EXPECT_EQ(view.isAnimating(), c.moves) << c.what;
    }
    Motion::isReduced() = false;
}

}  // namespace
}  // namespace halvenor::test
