#include "ui/WindowFixture.h"
#include "ui/shell/ApplicationShell.h"
#include "ui/shell/StatusItem.h"

namespace halvenor::test {
namespace {

using testing::ElementsAre;

TEST_F(WindowFixture, theStatusMenuFollowsThePlayer) {
    StatusMenu menu(*state);
    EXPECT_THAT(textsOf(menu), ElementsAre("(Play)", "(Like)", "Mute", "-", "Show", "Quit"));
    menu.actions().at(2)->trigger();
    EXPECT_TRUE(*engine().isMuted);

    const Track track = exampleTrack("/music/t/1", QStringLiteral("One"), QStringLiteral("A"));
    engine().currentTrack = track;
    engine().isPlaying = true;
    EXPECT_THAT(textsOf(menu), ElementsAre("Pause", "Like", "Unmute", "-", "Show", "Quit"));
    menu.actions().at(1)->trigger();
    EXPECT_TRUE(spinUntil([&] { return state->isFavorite(track); }));
    EXPECT_TRUE(spinUntil([&] { return textsOf(menu).at(1) == "Unlike"; }));
    int shown = 0;
    int ended = 0;
    state->onShowMainWindow = [&] { ++shown; };
    state->onTerminate = [&] { ++ended; };
    menu.actions().at(4)->trigger();
    menu.actions().at(5)->trigger();
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(ended, 1);
    engine().isPlaying = false;
    engine().currentTrack = std::optional<Track>();
}

TEST_F(WindowFixture, theShellHasOneWindowAtATimeAndMakesItAgain) {
    window.reset();
    ApplicationShell shell(*state, preferences);
    shell.showMainWindow();
    const QPointer<MainWindow> first = shell.mainWindow();
    first->showMinimized();
    state->onShowMainWindow();
    EXPECT_FALSE(first->isMinimized());
    EXPECT_EQ(shell.mainWindow(), first);

    first->close();
    letDeletionsHappen();
    ASSERT_TRUE(first.isNull());
    showTracks(3);
    state->onShowMainWindow();
    ASSERT_NE(shell.mainWindow(), nullptr);
    EXPECT_EQ(shell.mainWindow()->trackList().list().model()->rowCount(), 3);
}

}  // namespace
}  // namespace halvenor::test
