#include "AppStateFixture.h"

namespace halvenor::test {
namespace {

using LibraryTest = AppStateFixture;

TEST_F(LibraryTest, locationsShowSortedAndAreStoredAsAdded) {
    makeFolder("Zebra");
    makeFolder("Alpha");
    addLocation("Zebra");
    addLocation("Alpha");
    addLocation("Zebra");  // Only opened again.
    EXPECT_EQ(names(*state().rootFolders), "Alpha Zebra");
    EXPECT_EQ((*state().selectedFolder)->name(), "Zebra");
    const QList<QByteArray> asAdded{folder("Zebra").path(), folder("Alpha").path()};
    EXPECT_EQ(storedSettings().paths("LibraryFolderPaths"), asAdded);
}

TEST_F(LibraryTest, locationsComeBackByTheirExactBytes) {
    const QByteArray strange = "caf\xE9 \xFF%20\n\"";
    makeFolder(strange, {"b.wav", "a\xFE.wav"});
    addLocation(strange);
    startState();
    ASSERT_EQ(state().rootFolders->size(), 1U);
    EXPECT_EQ(state().rootFolder()->id(), folder(strange).path());
    ASSERT_TRUE(spinUntil([&] { return state().playbackQueue->size() == 2; }));
    EXPECT_EQ(titles(*state().playbackQueue), "a\xFE b");

    state().play(state().playbackQueue->first());
    EXPECT_TRUE(*engine().isPlaying);
    spinFor(std::chrono::milliseconds(20));
    EXPECT_EQ(storedSettings().path("PlayerLastTrackPath"),
              folder(strange).appendingPathComponent("a\xFE.wav").path());
}

TEST_F(LibraryTest, missingLocationStaysInTheLibrary) {
    state().settings().setPaths("LibraryFolderPaths", {"/nowhere/at/all"});
    startState();
    EXPECT_EQ(names(*state().rootFolders), "all");
    ASSERT_TRUE(spinUntil([&] { return state().isFolderLoaded(*state().rootFolder()); }));
    EXPECT_TRUE(state().playbackQueue->isEmpty());
}

TEST_F(LibraryTest, removingForgetsWhatLiesUnderItAndNothingElse) {
    makeFolder("a/inner", {"1.wav"});
    makeFolder("ab", {"2.wav"});
    addLocation("a");
    addLocation("ab");
    openAndRead("a/inner");
    for (const char* marked : {"a", "a/inner", "ab"}) {
        state().toggleFolderMarked(item(marked));
    }
    state().play(state().playbackQueue->first());

    state().removeFolder(folder("a"));
    EXPECT_EQ(names(*state().rootFolders), "ab");
    EXPECT_EQ(*state().markedFolderIDs, QSet<QByteArray>{folder("ab").path()});
    EXPECT_EQ(*state().expandedFolderIDs, QSet<QByteArray>{folder("ab").path()});
    EXPECT_FALSE(state().folderTracks->contains(folder("a/inner").path()));
    EXPECT_EQ((*state().selectedFolder)->name(), "ab");
    EXPECT_TRUE(*engine().isPlaying) << "music from a removed Location plays on";

    state().removeFolder(folder("ab"));
    EXPECT_FALSE(*state().selectedFolder);
    EXPECT_TRUE(state().playbackQueue->isEmpty());
    EXPECT_EQ(storedSettings().paths("LibraryFolderPaths"), QList<QByteArray>());
}

TEST_F(LibraryTest, removingWhileItIsListedLeavesNothingBehind) {
    makeFolder("a", {"1.wav"});
    state().openDirectory(folder("a"));
    state().removeFolder(folder("a"));
    makeFolder("b", {"2.wav"});
    addLocation("b");  // The listings run in order, so that of "a" is through by now.
    EXPECT_FALSE(state().folderTracks->contains(folder("a").path()));
    EXPECT_FALSE(state().isFolderLoading(item("a")));
}

}  // namespace
}  // namespace halvenor::test
