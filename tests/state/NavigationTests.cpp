#include "AppStateFixture.h"

namespace halvenor::test {
namespace {

using NavigationTest = AppStateFixture;

TEST_F(NavigationTest, openingListsOnceAndALateListingDoesNotTakeTheView) {
    makeFolder("m/A", {"a1.wav"});
    makeFolder("m/B", {"b1.wav", "b2.wav"});
    addLocation("m");
    state().openFolder(item("m/A"));
    state().openFolder(item("m/B"));
    ASSERT_TRUE(spinUntil([&] {
        return state().isFolderLoaded(item("m/A")) && state().isFolderLoaded(item("m/B"));
    }));
    EXPECT_EQ(titles(*state().playbackQueue), "b1 b2");
    EXPECT_EQ(titles(state().folderTracks->value(folder("m/A").path())), "a1");

    makeFolder("m/A", {"a2.wav"});
    state().openFolder(item("m/A"));
    EXPECT_EQ(titles(*state().playbackQueue), "a1") << "a loaded folder shows at once, as it was";
    state().refreshFolder(item("m/A"));
    EXPECT_TRUE(state().playbackQueue->isEmpty());
    ASSERT_TRUE(spinUntil([&] { return titles(*state().playbackQueue) == "a1 a2"; }));
}

TEST_F(NavigationTest, revealWalksFromTheDeepestRootAndAsksForTheRow) {
    makeFolder("m/a/b/c", {"1.wav"});
    addLocation("m");
    addLocation("m/a");
    state().revealFolderInTree(item("m/a/b/c"));
    ASSERT_TRUE(spinUntil([&] { return state().folderScrollRequest->has_value(); }));
    EXPECT_EQ((*state().folderScrollRequest)->folderID(), folder("m/a/b/c").path());
    EXPECT_EQ((*state().selectedFolder)->id(), folder("m/a/b/c").path());
    for (const char* open : {"m/a", "m/a/b", "m/a/b/c"}) {
        EXPECT_TRUE(state().isFolderExpanded(item(open))) << open;
    }
    EXPECT_EQ(titles(*state().playbackQueue), "1");
}

TEST_F(NavigationTest, revealStopsAtAHiddenFolder) {
    makeFolder("m/.hidden/c", {"1.wav"});
    addLocation("m");
    state().revealFolderInTree(item("m/.hidden/c"));
    ASSERT_TRUE(spinUntil([&] { return state().isFolderLoaded(item("m")); }));
    spinFor(std::chrono::milliseconds(30));
    EXPECT_EQ((*state().selectedFolder)->id(), folder("m").path());
    EXPECT_FALSE(state().folderScrollRequest->has_value());
}

TEST_F(NavigationTest, revealingThePlayingTrackTurnsTheFilterOff) {
    makeFolder("m/a", {"1.wav"});
    makeFolder("m/b", {"2.wav"});
    makeFolder("outside", {"3.wav"});
    addLocation("m");
    openAndRead("m/a");
    state().play(shown(0));
    openAndRead("m/b");
    state().showMarkedFoldersOnly = true;
    state().revealPlayingTrackFolder();
    ASSERT_TRUE(spinUntil([&] { return (*state().selectedFolder)->id() == folder("m/a").path(); }));
    EXPECT_FALSE(*state().showMarkedFoldersOnly);

    state().play(track("outside/3.wav"));
    state().revealPlayingTrackFolder();
    EXPECT_EQ((*state().selectedFolder)->id(), folder("outside").path());
}

TEST_F(NavigationTest, filterShowsMarkedFoldersAndTheWaysToThem) {
    state().markedFolderIDs = QSet<QByteArray>{"/m/abc/d"};
    const auto shows = [&](const char* path) {
        return state().shouldDisplayFolder(FolderItem(FileUrl(path), true));
    };
    EXPECT_TRUE(shows("/m/other"));
    state().showMarkedFoldersOnly = true;
    EXPECT_TRUE(shows("/m"));
    EXPECT_TRUE(shows("/m/abc"));
    EXPECT_TRUE(shows("/m/abc/d"));
    EXPECT_FALSE(shows("/m/ab"));
    EXPECT_FALSE(shows("/m/other"));
    EXPECT_FALSE(shows("/m/abc/d/e")) << "what lies under a mark is not marked by it";
}

TEST_F(NavigationTest, marksAndFilterSurviveARestart) {
    makeFolder("m/b\xFF");
    addLocation("m");
    state().toggleFolderMarked(item("m/b\xFF"));
    state().toggleFolderMarked(item("m"));
    state().showMarkedFoldersOnly = true;
    startState();
    EXPECT_TRUE(state().isFolderMarked(item("m/b\xFF")));
    EXPECT_TRUE(*state().showMarkedFoldersOnly);
    const QList<QByteArray> sorted{folder("m").path(), folder("m/b\xFF").path()};
    EXPECT_EQ(storedSettings().paths("MarkedFolderPaths"), sorted);
    EXPECT_FALSE(state().isFolderExpanded(item("m/b\xFF")));
}

TEST_F(NavigationTest, typingSearchesOnceForTheLastQuery) {
    makeFolder("m/Blue");
    makeFolder("m/bluegrass");
    makeFolder("m/Red");
    addLocation("m");
    int deliveries = 0;
    const Subscription seen = state().folderSearchResults.subscribe(
        [&](const FolderList& results) { deliveries += !results.empty(); });
    state().searchQuery = QStringLiteral("r");
    state().searchQuery = QStringLiteral(" blue ");
    EXPECT_TRUE(*state().isFolderSearchInProgress);
    ASSERT_TRUE(spinUntil([&] { return !*state().isFolderSearchInProgress; }));
    EXPECT_EQ(names(*state().folderSearchResults), "Blue bluegrass");
    EXPECT_EQ(deliveries, 1);

    state().searchQuery = QStringLiteral("  ");
    EXPECT_TRUE(state().folderSearchResults->empty());
    EXPECT_FALSE(*state().isFolderSearchInProgress);
}

}  // namespace
}  // namespace halvenor::test
