// Locations across restarts: by their bookmarks, by their paths, and from older or damaged values.
#include <filesystem>

#include "AppStateFixture.h"

namespace halvenor::test {
namespace {

class LocationTest : public AppStateFixture {
  protected:
    void moveItem(const QByteArray& from, const QByteArray& to) {
        makeFolder(to.left(to.lastIndexOf('/')));
        std::filesystem::rename(folder(from).path().toStdString(), folder(to).path().toStdString());
    }
    /// Starts with these settings alone.
    template <class Write>
    void startWith(Write write) {
        endState();
        std::filesystem::remove(folder("settings.json").path().toStdString());
        {
            Settings settings(folder("settings.json"));
            write(settings);
        }
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

TEST_F(LocationTest, theFourValuesAreKeptInStep) {
    makeFolder("Zebra");
    makeFolder("Alpha");
    addLocation("Zebra");
    addLocation("Alpha");
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
        startWith(c.write);
        QList<QByteArray> relative;
        for (const FileUrl& url : *state().libraryFolders) {
            relative.append(url.path().mid(folder("").path().size() + 1));
        }
        EXPECT_EQ(relative.join(' '), c.roots) << c.what;
    }
}

TEST_F(LocationTest, movedWhileNothingRanItComesBackWhereItIsUnlessInTheTrash) {
    makeFolder("first", {"1.wav"});
    makeFolder("second");
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
