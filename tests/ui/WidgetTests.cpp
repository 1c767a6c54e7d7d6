// Real widgets on a real state: what the pointer and the keyboard do, and what a change costs.
#include <QLineEdit>

#include "ui/WindowFixture.h"
#include "ui/controls/ThinSlider.h"
#include "ui/mainwindow/SplitDivider.h"
#include "ui/playerbar/HistoryPanel.h"
#include "ui/playerbar/PlayerBarView.h"
#include "ui/playerbar/TimelineView.h"

namespace halvenor::test {
namespace {

class Window : public WindowFixture {};

TEST(ThinSlider, reportsEachStepOfADragAndNoButtonElse) {
    QWidget parent;
    ThinSlider slider(QStringLiteral("Test"), &parent);
    slider.setRange(0, 10);
    slider.resize(110, 16);
    std::vector<double> wishes;
    slider.onValueWished = [&](double value) {
        wishes.push_back(value);
        slider.setValue(value);
    };
    QTest::mousePress(&slider, Qt::LeftButton, {}, QPoint(55, 8));
    QTest::mouseMove(&slider, QPoint(80, 8));
    QTest::mouseMove(&slider, QPoint(400, 8));
    QTest::mouseRelease(&slider, Qt::LeftButton, {}, QPoint(400, 8));
    ASSERT_EQ(wishes.size(), 3U);
    EXPECT_NEAR(wishes[0], 5, 0.01);
    EXPECT_GT(wishes[1], wishes[0]);
    EXPECT_EQ(wishes[2], 10);
    QTest::mouseMove(&slider, QPoint(10, 8));
    QTest::mouseClick(&slider, Qt::RightButton, {}, QPoint(10, 8));
    EXPECT_EQ(wishes.size(), 3U);
    slider.setStep(1);
    QTest::keyClick(&slider, Qt::Key_Left);
    EXPECT_EQ(wishes.back(), 9);
    QTest::keyClick(&slider, Qt::Key_Home);
    QTest::keyClick(&slider, Qt::Key_Left);
    EXPECT_EQ(wishes.back(), 0);
}

TEST_F(Window, repaintsNothingForATimeThatMovesNoPixel) {
    engine().duration = 300;
    engine().currentTime = 100;
    QTest::qWait(50);
    state->showWaveform = false;
    QTest::qWait(50);
    ThinSlider& timeline = window->playerBar().timeline().slider();
    PaintWatch slider(timeline);
    PaintWatch bar(window->playerBar());
    for (int tenth = 1; tenth <= 5; ++tenth) {
        engine().currentTime = 100 + tenth * 0.01;
        QTest::qWait(5);
    }
    EXPECT_EQ(slider.count, 0);
    engine().currentTime = 150;
    QTest::qWait(20);
    EXPECT_EQ(slider.count, 1);
    EXPECT_EQ(bar.count, 0) << "the bar itself need not repaint";

    window->showMinimized();
    QTest::qWait(20);
    slider.count = 0;
    engine().currentTime = 200;
    QTest::qWait(20);
    EXPECT_EQ(slider.count, 0);
    window->showNormal();
    QTest::qWait(20);
    EXPECT_EQ(timeline.value(), 200);
}

TEST_F(Window, actsOnBareKeysUnlessTextIsTyped) {
    const bool wasMuted = *engine().isMuted;
    EXPECT_TRUE(press(tree(), 58, Qt::Key_Comma));  // M's place, on a French layout
    EXPECT_NE(*engine().isMuted, wasMuted);
    press(tree(), 58, Qt::Key_M, Qt::ControlModifier);
    EXPECT_NE(*engine().isMuted, wasMuted) << "with Control it is another key";

    addRoots(*state, {"A"});
    QTest::qWait(1);
    clickButton("Search");
    auto* field = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    ASSERT_NE(field, nullptr);
    press(*field, 58, Qt::Key_M, {}, QStringLiteral("m"));
    press(*field, 65, Qt::Key_Space, {}, QStringLiteral(" "));
    EXPECT_EQ(field->text(), QStringLiteral("m "));
    EXPECT_EQ(*state->searchQuery, QStringLiteral("m "));
    EXPECT_NE(*engine().isMuted, wasMuted);

    clickButton("Search");
    EXPECT_TRUE(field->isHidden());
    EXPECT_TRUE(state->searchQuery->isEmpty());
    QTest::qWait(300);  // The search that was to come sees that nobody waits for it any more.
}

TEST_F(Window, keepsSpaceFromTheFocusedButtonAndAHeldKeyFromFluttering) {
    button("Shuffle").setFocus(Qt::TabFocusReason);
    key(Qt::Key_Space);
    EXPECT_FALSE(*state->isShuffleEnabled);
    key(Qt::Key_Return);
    EXPECT_TRUE(*state->isShuffleEnabled);

    press(*window, 43, Qt::Key_H);
    EXPECT_TRUE(window->history().isShown());
    QKeyEvent held(QEvent::KeyPress, Qt::Key_H, Qt::NoModifier, 43, 0, 0, QString(), true);
    QCoreApplication::sendEvent(window.get(), &held);
    EXPECT_TRUE(window->history().isShown());
    press(*window, 43, Qt::Key_H);
    EXPECT_TRUE(spinUntil([&] { return window->history().isHidden(); }));
}

TEST_F(Window, dividesItsWidthByDraggingWithinTheLimits) {
    window->resize(1000, 700);
    EXPECT_EQ(window->sidebar().width(), 300);
    auto* divider = window->findChild<QWidget*>(QStringLiteral("divider"));
    ASSERT_NE(divider, nullptr);
    EXPECT_EQ(divider->cursor().shape(), Qt::SplitHCursor);
    for (const auto& [x, width] : {std::pair(450, 450), std::pair(20, 300), std::pair(990, 600)}) {
        QTest::mousePress(divider, Qt::LeftButton, {}, QPoint(10, 50));
        QTest::mouseMove(divider, divider->mapFrom(window.get(), QPoint(x, 50)));
        QTest::mouseRelease(divider, Qt::LeftButton);
        EXPECT_EQ(window->sidebar().width(), width);
    }
    EXPECT_EQ(window->trackList().x(), 601);
    window->resize(1400, 700);
    EXPECT_EQ(window->sidebar().width(), 840) << "the fraction is kept";
}

}  // namespace
}  // namespace halvenor::test
