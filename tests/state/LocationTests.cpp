// Locations, added, removed and across restarts: by their bookmarks, by their paths, and from older
// or damaged values.
#include "AppStateFixture.h"

namespace halvenor::test {
namespace {

class LocationTest : public AppStateFixture {
  protected:
    /// Starts with these settings alone.
    template <class Write>
    void startWithSettings(Write write) {
        endState();
        makeFile("settings.json", "{}");
        write(*std::make_unique<Settings>(folder("settings.json")));
        startState();
    }
    QByteArray bookmark(const QByteArray& relative) { return *makeBookmark(folder(relative)); }
    QList<QByteArray> paths(const QList<QByteArray>& relative) const {
        QList<QByteArray> result;
        for (const QByteArray& path : relative) {
            result.append(folder(path).path());
        }
        return result;
    }
    /// Waits until the bookmarks that are stored have been made anew.
    bool hasStoredBookmarks(const QList<QByteArray>& relative) {
        return spinUntil([&] {
            const Settings stored = storedSettings();
            const auto map = stored.dataByPath("LibraryFolderBookmarkMap");
            const QList<QByteArray> wanted = paths(relative);
            return map && map->size() == wanted.size() &&
                   std::ranges::all_of(wanted,
                                       [&](const auto& path) { return map->contains(path); });
        });
    }
};

TEST_F(LocationTest, locationsComeBackByTheirExactBytes) {
    const QByteArray strange = "caf\xE9 \xFF%20\n\"";
    addLocation(strange, {"b.wav", "a\xFE.wav"});
    startState();
    ASSERT_EQ(state().rootFolders->size(), 1U);
    EXPECT_EQ(state().rootFolder()->id(), folder(strange).path());
    ASSERT_TRUE(spinUntil([&] { return state().playbackQueue->size() == 2; }));
    EXPECT_EQ(titles(*state().playbackQueue), "a\xFE b");
}

TEST_F(LocationTest, removingForgetsWhatLiesUnderItAndNothingElse) {
    makeFolder("a/inner", {"1.wav"});
    makeFolder("ab", {"2.wav"});
    addLocation("a");
    addLocation("ab");
    openAndRead("a/inner");
    for (const char* marked : {"a", "a/inner", "ab"}) {
        state().toggleFolderMarked(item(marked));
    }
    state().play(shown(0));

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

TEST_F(LocationTest, removingWhileItIsListedLeavesNothingBehind) {
    makeFolder("a", {"1.wav"});
    state().openDirectory(folder("a"));
    state().removeFolder(folder("a"));
    makeFolder("b", {"2.wav"});
    addLocation("b");  // The listings run in order, so that of "a" is through by now.
    EXPECT_FALSE(state().folderTracks->contains(folder("a").path()));
    EXPECT_FALSE(state().isFolderLoading(item("a")));
}

TEST_F(LocationTest, theFourValuesAreKeptInStep) {
    addLocation("Zebra");
    addLocation("Alpha");
    addLocation("Zebra");  // Only opened again.
    EXPECT_EQ(names(*state().rootFolders), "Alpha Zebra");
    EXPECT_EQ((*state().selectedFolder)->name(), "Zebra");
    ASSERT_TRUE(hasStoredBookmarks({"Zebra", "Alpha"}));
    const Settings both = storedSettings();
    EXPECT_EQ(both.paths("LibraryFolderPaths"), paths({"Zebra", "Alpha"}));
    const auto list = both.dataList("LibraryFolderBookmarks");
    ASSERT_TRUE(list && list->size() == 2);
    EXPECT_EQ(both.data("LastOpenedFolderBookmark"), list->last());
    EXPECT_EQ(both.dataByPath("LibraryFolderBookmarkMap")->value(folder("Alpha").path()),
              list->last());

    state().removeFolder(folder("Zebra"));
    state().removeFolder(folder("Alpha"));
    ASSERT_TRUE(hasStoredBookmarks({}));
    const Settings none = storedSettings();
    EXPECT_FALSE(none.contains("LastOpenedFolderBookmark"));
    EXPECT_EQ(none.dataList("LibraryFolderBookmarks"), QList<QByteArray>());
    EXPECT_EQ(none.paths("LibraryFolderPaths"), QList<QByteArray>());
}

TEST_F(LocationTest, eachOlderFormStillBringsTheLocationsBack) {
    makeFolder("a");
    makeFolder("b");
    const QByteArray a = bookmark("a");
    const QByteArray b = bookmark("b");
    moveItem("b", "moved/b");
    struct Case {
        const char* what;
        std::function<void(Settings&)> write;
        QByteArray roots;
    };
    const Case cases[] = {
        {"only the last one", [&](Settings& s) { s.setData("LastOpenedFolderBookmark", b); },
         "moved/b"},
        {"only the list",
         [&](Settings& s) {
             s.setDataList("LibraryFolderBookmarks", {b, a});
         },
         "moved/b a"},
        {"paths and list, by position",
         [&](Settings& s) {
             s.setPaths("LibraryFolderPaths", paths({"b", "a", "c"}));
             s.setDataList("LibraryFolderBookmarks", {b, a});
         },
         "moved/b a c"},
        {"a map of another type counts as none",
         [&](Settings& s) {
             s.setPaths("LibraryFolderPaths", paths({"a"}));
             s.setNumber("LibraryFolderBookmarkMap", 1);
         },
         "a"},
        {"bookmarks that are no bookmarks",
         [&](Settings& s) {
             s.setPaths("LibraryFolderPaths", paths({"a", "gone"}));
             s.setDataList("LibraryFolderBookmarks", {"", QByteArray(100, '\xFF')});
         },
         "a gone"},
    };
    for (const Case& c : cases) {
        startWithSettings(c.write);
        QList<QByteArray> relative;
        for (const FileUrl& url : *state().libraryFolders) {
            relative.append(url.path().mid(folder("").path().size() + 1));
        }
        EXPECT_EQ(relative.join(' '), c.roots) << c.what;
    }
}

TEST_F(LocationTest, movedWhileNothingRanItComesBackWhereItIsUnlessInTheTrash) {
    makeFolder("first", {"1.wav"});
    addLocation("second");
    addLocation("first");
    ASSERT_TRUE(hasStoredBookmarks({"first", "second"}));
    endState();
    moveItem("first", "x/renamed");
    moveItem("second", ".Trash-1000/files/second");
    startState();
    EXPECT_EQ(*state().libraryFolders,
              (std::vector<FileUrl>{folder("second"), folder("x/renamed")}));
    EXPECT_EQ(*state().availableLocationPaths, QSet<QByteArray>{folder("x/renamed").path()});
    EXPECT_TRUE(hasStoredBookmarks({"x/renamed", "second"})) << "the old bookmark is kept";
}

}  // namespace
}  // namespace halvenor::test
