// The folder tree in the window: clicks, keys, menus, and long trees.
#include <QScrollBar>

#include "support/TemporaryFolder.h"
#include "ui/WindowFixture.h"
#include "ui/sidebar/FolderRowParts.h"

namespace halvenor::test {
namespace {

using testing::ElementsAre;

class FolderTreeWindow : public WindowFixture {
  protected:
    int shownRows() {
        QTest::qWait(1);  // The tree takes a change over a turn later.
        return tree().model()->rowCount();
    }
    QByteArray opened() const { return (*state->selectedFolder)->id(); }
};

TEST_F(FolderTreeWindow, clicksOpenToggleAndMark) {
    const FolderList roots = addRoots(*state, {"A", "B"});
    const FolderList inside = addFolders(*state, roots[0], {"one", "two"});
    addFolders(*state, inside[0], {});
    ASSERT_EQ(shownRows(), 2);
    click(tree(), 0);
    EXPECT_EQ(shownRows(), 4);
    EXPECT_EQ(opened(), roots[0].id());
    click(tree(), 1);
    EXPECT_EQ(opened(), inside[0].id());
    EXPECT_FALSE(state->isFolderExpanded(inside[0])) << "it has no children to show";

    const FolderRowParts parts(tree().visualRect(tree().model()->index(2, 0)), 1, Qt::LeftToRight);
    QTest::mouseClick(tree().viewport(), Qt::LeftButton, {}, parts.icon.center());
    EXPECT_TRUE(state->isFolderMarked(inside[1]));
    EXPECT_EQ(opened(), inside[0].id()) << "marking does not open";

    state->showMarkedFoldersOnly = true;
    EXPECT_EQ(shownRows(), 2);
    state->showMarkedFoldersOnly = false;
    click(tree(), 0);
    EXPECT_EQ(shownRows(), 2) << "a second click collapses";
}

TEST_F(FolderTreeWindow, arrowKeysWalkTheTree) {
    const FolderList roots = addRoots(*state, {"A", "B"});
    addFolders(*state, roots[0], {"one", "two"});
    QTest::qWait(1);
    tree().setFocus();
    struct Step {
        Qt::Key pressed;
        QByteArray opened;
        bool isExpanded;
    };
    for (const Step& step : {Step{Qt::Key_Down, "/music/A", false},
                             {Qt::Key_Up, "/music/A", false},  // it does not wrap
                             {Qt::Key_Right, "/music/A", true},
                             {Qt::Key_Right, "/music/A/one", true},
                             {Qt::Key_Down, "/music/A/two", true},
                             {Qt::Key_Left, "/music/A", true},
                             {Qt::Key_Left, "/music/A", false}}) {
        key(step.pressed);
        EXPECT_EQ(opened(), step.opened) << step.pressed;
        EXPECT_EQ(state->isFolderExpanded(roots[0]), step.isExpanded) << step.pressed;
    }
    state->searchQuery = QStringLiteral("x");
    key(Qt::Key_Right);
    EXPECT_FALSE(state->isFolderExpanded(roots[0])) << "search results have no levels";
}

TEST_F(FolderTreeWindow, keepsItsPlaceInALongTreeAndScrollsToRequests) {
    const FolderList roots = addRoots(*state, {"A"});
    QList<QByteArray> names;
    for (int i = 0; i < 3000; ++i) {
        names << QByteArray::number(i);
    }
    const FolderList folders = addFolders(*state, roots[0], names);
    addFolders(*state, folders[2500], {"x", "y"});
    state->expandedFolderIDs = QSet<QByteArray>{roots[0].id()};
    QTest::qWait(20);
    ASSERT_EQ(tree().model()->rowCount(), 3001);
    QScrollBar& bar = *tree().verticalScrollBar();
    bar.setValue(1500 * FolderRowParts::rowHeight);
    state->toggleFolderExpanded(folders[2500]);
    QTest::qWait(20);
    EXPECT_EQ(tree().model()->rowCount(), 3003);
    EXPECT_EQ(bar.value(), 1500 * FolderRowParts::rowHeight);

    state->folderScrollRequest = FolderScrollRequest(folders[100].id());
    const QRect& viewport = tree().viewport()->rect();
    EXPECT_TRUE(
        spinUntil([&] { return std::abs(centreOf(tree(), 101).y() - viewport.center().y()) < 3; }));
}

TEST(FolderTreeModel, tellsOfWhatChangedAlone) {
    WatchedModel<FolderTreeModel> model;
    const QSignalSpy& inserted = model.inserted;
    const QSignalSpy& removed = model.removed;
    const auto rows = [](const QByteArrayList& ids) {
        FolderRows made;
        for (const QByteArray& id : ids) {
            made.push_back({FolderItem(FileUrl(id), true), 0, true});
        }
        return made;
    };
    model.setRows(rows({"/a", "/b", "/c"}));
    model.setRows(rows({"/a", "/b", "/b/1", "/b/2", "/c"}));
    ASSERT_EQ(inserted.count(), 2);
    EXPECT_EQ(inserted[1][1].toInt(), 2);
    EXPECT_EQ(inserted[1][2].toInt(), 3);
    EXPECT_EQ(removed.count(), 0);
    model.setRows(rows({"/a", "/c"}));
    EXPECT_EQ(removed.count(), 1);
    EXPECT_EQ(inserted.count(), 2);
    model.setRows(rows({"/a", "/c"}));
    EXPECT_EQ(removed.count() + inserted.count(), 3) << "no change, no signal";
    model.setRows(rows({"/x", "/a", "/y"}));
    EXPECT_EQ(model.row(0).folder.id(), "/x");
    EXPECT_EQ(model.rowCount(), 3);
    model.setRows({});
    model.setRows(rows({"/a", "/a", "/a"}));  // one folder found thrice is three rows
    model.setRows(rows({"/a", "/a"}));
    EXPECT_EQ(model.rowCount(), 2);
    EXPECT_EQ(model.resets.count(), 0);
}

TEST_F(FolderTreeWindow, offersWhatAFolderAllows) {
    const FolderList roots = addRoots(*state, {"A"});
    addFolders(*state, roots[0], {"inside"});
    state->expandedFolderIDs = QSet<QByteArray>{roots[0].id()};
    QTest::qWait(1);
    struct Case {
        int row;
        bool hasPlaylists, isRelocating;
        const char* playlist;
        const char* location;
        Texts more;
    };
    const Case cases[] = {
        {0, false, false, "(Add to Playlist)", "Choose New Location…", {"-", "Remove Folder"}},
        {1, false, true, "(Add to Playlist)", "(Choose New Location…)", {}},
        {1, true, false, "Add to Playlist", "Choose New Location…", {}},
    };
    for (const Case& c : cases) {
        if (c.hasPlaylists) {
            makePlaylist("One");
            makePlaylist("R&B\ttoo");
        }
        state->isRelocating = c.isRelocating;
        const OpenMenu menu = contextMenu(tree(), c.row);
        Texts expected{c.playlist, "Show in Finder", "Refresh", c.location};
        expected.insert(expected.end(), c.more.begin(), c.more.end());
        EXPECT_EQ(menu.texts(), expected) << c.row;
        if (c.hasPlaylists) {
            EXPECT_THAT(menu.submenuTexts("Add to Playlist"), ElementsAre("One", "R&&B too"));
        }
    }
    state->isRelocating = false;
}

TEST_F(FolderTreeWindow, addsAFoldersTracksEvenIfItWasNeverListed) {
    const TemporaryFolder music;
    for (const char* name : {"far/2.mp3", "far/1.mp3", "far/below/3.mp3", "near/4.mp3"}) {
        music.makeFile(name);
    }
    state->rootFolders =
        FolderList{FolderItem(music.at("far"), true), FolderItem(music.at("near"), true)};
    QTest::qWait(1);
    const QUuid id = makePlaylist("P").id;
    contextMenu(tree(), 0).choose("Add to Playlist", "P");
    EXPECT_TRUE(spinUntil([&] { return !filesIn(id).empty(); }));
    EXPECT_THAT(filesIn(id), ElementsAre("1.mp3", "2.mp3"));
    contextMenu(tree(), 0).choose("Add to Playlist", "P");
    EXPECT_THAT(filesIn(id), ElementsAre("1.mp3", "2.mp3")) << "at once now, and none twice";
    EXPECT_FALSE(state->isFolderExpanded(state->rootFolders->front()));

    contextMenu(tree(), 1).choose("Add to Playlist", "P");
    state->removeFolder(music.at("near"));
    QTest::qWait(1);
    state->openDirectory(music.at("near"));
    EXPECT_TRUE(spinUntil([&] { return !state->playbackQueue->isEmpty(); }));
    QTest::qWait(20);
    EXPECT_THAT(filesIn(id), ElementsAre("1.mp3", "2.mp3")) << "a folder taken away adds nothing";
}

}  // namespace
}  // namespace halvenor::test
