#include "ui/WindowFixture.h"
#include "ui/controls/ThinSlider.h"
#include "ui/covermode/CoverModeView.h"
#include "ui/playerbar/PlayerBarView.h"

namespace halvenor::test {
namespace {

class CoverModeTest : public WindowFixture {
  protected:
    CoverModeTest() {
        fillWithExample(*state);
        QTest::qWait(20);
    }
    void enter() {
        press(*window, 54, Qt::Key_C);
        QTest::qWait(20);
    }
};

TEST_F(CoverModeTest, takesThePlaceOfThePlayerAndFillsTheScreen) {
    EXPECT_EQ(window->coverMode(), nullptr) << "nothing is made before it is shown";
    enter();
    EXPECT_TRUE(window->coverMode()->isVisible());
    EXPECT_FALSE(window->playerBar().isVisible());
    EXPECT_TRUE(window->isFullScreen());
    press(*window, 54, Qt::Key_C);
    QTest::qWait(20);
    EXPECT_FALSE(window->isFullScreen());
    EXPECT_TRUE(window->playerBar().isVisible());

    enter();
    clickButton("Exit Cover Mode (c)");
    EXPECT_FALSE(*state->isCoverModePresented);
    QTest::qWait(20);

    enter();
    window->showNormal();  // as the desktop's own command does
    QTest::qWait(20);
    EXPECT_FALSE(*state->isCoverModePresented);
}

TEST_F(CoverModeTest, itsButtonsKnowTheEndsOfTheList) {
    enter();
    state->repeatMode = RepeatMode::off;
    struct Case {
        qsizetype index;
        RepeatMode mode;
        bool hasPrevious, hasNext;
    };
    const qsizetype last = state->playingQueue->size() - 1;
    for (const Case& c :
         {Case{0, RepeatMode::off, false, true}, Case{1, RepeatMode::off, true, true},
          Case{last, RepeatMode::off, true, false}, Case{last, RepeatMode::nextFolder, true, true},
          Case{0, RepeatMode::all, true, true}, Case{last, RepeatMode::all, true, true}}) {
        state->currentIndex = c.index;
        state->repeatMode = c.mode;
        EXPECT_EQ(button("Previous Track (,)").isEnabled(), c.hasPrevious) << c.index;
        EXPECT_EQ(button("Next Track (.)").isEnabled(), c.hasNext) << c.index;
    }
    engine().currentTrack = std::optional<Track>();
    EXPECT_FALSE(button("Next Track (.)").isEnabled());
}

TEST_F(CoverModeTest, unmutesAndGoesLouderByATenth) {
    enter();
    engine().setVolume(0.5F);
    engine().toggleMute();
    clickButton("Unmute and increase volume");
    EXPECT_FALSE(*engine().isMuted);
    EXPECT_NEAR(*engine().volume, 0.6F, 1e-6F);
    engine().setVolume(0.95F);
    clickButton("Unmute and increase volume");
    clickButton("Unmute and increase volume");
    EXPECT_EQ(*engine().volume, 1.0F);
}

TEST_F(CoverModeTest, showsASliderWhereTheWaveformIsOff) {
    enter();
    const auto isSlider = [&] {
        return dynamic_cast<ThinSlider*>(&findByName<QWidget>(*window, "Position")) != nullptr;
    };
    EXPECT_FALSE(isSlider());
    state->showWaveform = false;
    EXPECT_TRUE(isSlider());
}

}  // namespace
}  // namespace halvenor::test
