// The playlists in the window: what its buttons, menus, keys and sheets do to them.
#include <QLineEdit>

#include "base/Task.h"
#include "support/TemporaryFolder.h"
#include "ui/WindowFixture.h"
#include "ui/controls/Spinner.h"
#include "ui/sidebar/PlaylistListView.h"

namespace halvenor::test {
namespace {

using testing::ElementsAre;

class PlaylistWindow : public WindowFixture {
  protected:
    PlaylistListView& playlists() {
        if (window->sidebar().section() != SidebarSection::playlists) {
            clickButton("Playlists");
        }
        return *window->sidebar().playlists();
    }
    // What is typed in the sheet.
    QString typedName() { return findByName<QLineEdit>(*window, "Playlist name").text(); }
};

TEST_F(PlaylistWindow, makesPlaylistsOfNamesThatSaySomething) {
    struct Case {
        const char* typed;
        std::function<void()> answer;
        Texts expected;
    };
    const auto accept = [] { key(Qt::Key_Return); };
    const Case cases[] = {
        {"Road", accept, {"Road"}},
        {"  Late night ", accept, {"Road", "Late night"}},
        {" \t ", accept, {"Road", "Late night"}},
        {"Never", [] { key(Qt::Key_Escape); }, {"Road", "Late night"}},
        {"Never", [&] { clickButton("Cancel"); }, {"Road", "Late night"}},
        {"Road", [&] { clickButton("Create"); }, {"Road", "Late night", "Road"}},
    };
    playlists().setFocus();
    for (const Case& c : cases) {
        clickButton("Add New Playlist");
        EXPECT_EQ(focused(), "Playlist name");
        EXPECT_TRUE(typedName().isEmpty()) << "what was typed before is gone";
        type(c.typed);
        c.answer();
        EXPECT_EQ(playlistNames(), c.expected) << c.typed;
        EXPECT_THROW(findByName<QWidget>(*window, "New Playlist"), std::runtime_error);
        EXPECT_EQ(QApplication::focusWidget(), &playlists()) << "the focus comes back";
    }
    EXPECT_EQ(playlists().currentIndex().row(), 2) << "the new one is at hand";
}

TEST_F(PlaylistWindow, keepsTheFocusInTheSheetAndThePointerOut) {
    clickButton("Playlists");
    clickButton("Add New Playlist");
    for (const char* name : {"Cancel", "Create", "Playlist name"}) {
        key(Qt::Key_Tab);
        EXPECT_EQ(focused(), name);
    }
    key(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(focused(), "Create");

    auto& sheet = findByName<QWidget>(*window, "New Playlist");
    EXPECT_EQ(sheet.geometry(), window->rect());
    window->resize(1300, 800);
    EXPECT_EQ(sheet.geometry(), window->rect());
    press(*window, 43, Qt::Key_H);
    EXPECT_EQ(window->childAt(1200, 100), &sheet) << "the history slides in beneath";
}

TEST_F(PlaylistWindow, renamesFromTheMenuAndByKey) {
    state->openPlaylist = makePlaylist("Old");
    makePlaylist("Favorites");
    state->playbackQueue = TrackList{exampleTrack("/music/1", QString(), QString())};
    contextMenu(playlists(), 0).choose("Rename…");
    EXPECT_EQ(typedName(), QStringLiteral("Old"));
    type(" New & shiny ");
    key(Qt::Key_Return);
    EXPECT_THAT(playlistNames(), ElementsAre("New & shiny", "Favorites"));

    for (const char* typed : {"  ", "Dropped"}) {
        QTest::keyClick(&playlists(), Qt::Key_F2);
        type(typed);
        key(*typed == ' ' ? Qt::Key_Return : Qt::Key_Escape);
        EXPECT_THAT(playlistNames(), ElementsAre("New & shiny", "Favorites")) << typed;
    }
}

TEST_F(PlaylistWindow, deletesAnythingButTheFavorites) {
    makePlaylist("Favorites");
    state->openPlaylist = makePlaylist("Gone");
    EXPECT_THAT(contextMenu(playlists(), 0).texts(),
                ElementsAre("Rename…", "-", "Import M3U…", "Export M3U…"));
    const OpenMenu menu = contextMenu(playlists(), 1);
    EXPECT_THAT(menu.texts(),
                ElementsAre("Rename…", "-", "Import M3U…", "Export M3U…", "-", "Delete"));
    menu.choose("Delete");
    QTest::qWait(1);
    EXPECT_THAT(playlistNames(), ElementsAre("Favorites"));
    EXPECT_EQ(playlists().model()->rowCount(), 1);
    EXPECT_FALSE(state->openPlaylist->has_value());
    EXPECT_THAT(contextMenu(playlists(), QPoint(50, 300)).texts(),
                ElementsAre("Add New Playlist", "Import M3U…"));
}

TEST_F(PlaylistWindow, opensPlaylistsByClickAndKey) {
    const Playlist all[] = {makePlaylist("A"), makePlaylist("B"), makePlaylist("C")};
    const auto opened = [&] {
        const auto& open = *state->openPlaylist;
        return open ? open->name.toStdString() : std::string();
    };
    click(playlists(), 1);
    EXPECT_EQ(opened(), "B");
    playlists().setFocus();
    key(Qt::Key_Down);
    EXPECT_EQ(opened(), "B") << "walking opens nothing";
    key(Qt::Key_Down);
    key(Qt::Key_Return);
    EXPECT_EQ(opened(), "C");
    for (int i = 0; i < 3; ++i) {
        key(Qt::Key_Up);
    }
    key(Qt::Key_Enter);
    EXPECT_EQ(opened(), "A");

    state->deletePlaylist(all[1].id);
    key(Qt::Key_Down);
    key(Qt::Key_Return);
    EXPECT_EQ(opened(), "C") << "a row that goes leaves the place in the list";
}

TEST_F(PlaylistWindow, switchesSectionsAndFollowsAScrollRequestToTheFolders) {
    const FolderList roots = addRoots(*state, {"A"});
    tree().setFocus();
    clickButton("Search");
    type("x");
    EXPECT_EQ(window->sidebar().playlists(), nullptr) << "nothing is made before it is shown";
    clickButton("Playlists");
    EXPECT_FALSE(tree().isVisible());
    EXPECT_EQ(QApplication::focusWidget(), window->sidebar().playlists());
    EXPECT_THROW(findByName<QWidget>(*window, "Search"), std::runtime_error);
    EXPECT_THROW(findByName<QWidget>(*window, "Search folders"), std::runtime_error);

    state->folderScrollRequest = FolderScrollRequest(roots[0].id());
    EXPECT_TRUE(tree().isVisible());
    EXPECT_EQ(QApplication::focusWidget(), &tree());
    EXPECT_NO_THROW(findByName<QLineEdit>(*window, "Search folders")) << "the search goes on";
    EXPECT_THROW(findByName<QWidget>(*window, "Add New Playlist"), std::runtime_error);
}

TEST_F(PlaylistWindow, importsAndExportsFiles) {
    const TemporaryFolder folder;
    const auto answer = [&](const QByteArray& name) {
        choose(fileDialog(), folder.path(name));
        EXPECT_TRUE(spinUntil([] { return Service::jobsUnderWay() == 0; }));
        letDeletionsHappen();
    };
    folder.makeFile("Mixed tape.m3u", "#EXTM3U\n/music/a.mp3\n\n/music/b.mp3\n");
    folder.makeFile("latin.m3u", "/music/\xe9.mp3\n");
    clickButton("Playlists");
    clickButton("Import M3U…");
    answer("Mixed tape.m3u");
    ASSERT_THAT(playlistNames(), ElementsAre("Mixed tape"));
    EXPECT_THAT(filesIn(state->playlistManager().playlists->first().id),
                ElementsAre("a.mp3", "b.mp3"));

    clickButton("Import M3U…");
    answer("latin.m3u");
    EXPECT_THAT(playlistNames(), ElementsAre("Mixed tape"));
    EXPECT_FALSE(findByName<QWidget>(*window, "Import Failed").accessibleDescription().isEmpty());
    clickButton("OK");
    letDeletionsHappen();

    contextMenu(playlists(), 0).choose("Export M3U…");
    answer("out");
    QFile written(QString::fromUtf8(folder.path("out.m3u8")));
    ASSERT_TRUE(written.open(QIODevice::ReadOnly)) << "an ending is added to a name without one";
    EXPECT_EQ(written.readAll(), "#EXTM3U\n/music/a.mp3\n/music/b.mp3\n");
}

TEST_F(PlaylistWindow, turnsItsSignWhileAPlaylistIsRead) {
    const auto isTurning = [&] {
        return std::ranges::any_of(window->trackList().children(), [](QObject* child) {
            const auto* spinner = dynamic_cast<Spinner*>(child);
            return spinner != nullptr && spinner->isVisible();
        });
    };
    state->openPlaylist = makePlaylist("Empty");
    state->isScanning = true;
    EXPECT_FALSE(isTurning()) << "what is there at once needs no sign";
    EXPECT_TRUE(spinUntil(isTurning));
    state->isScanning = false;
    EXPECT_FALSE(isTurning());
}

TEST(PlaylistListModel, tellsOfWhatChangedAlone) {
    WatchedModel<PlaylistListModel> model;
    Playlists all;
    for (const char* name : {"a", "b", "c"}) {
        all.append(Playlist{QUuid::createUuid(), QString::fromUtf8(name), {}});
    }
    model.setPlaylists(all);
    const QPersistentModelIndex last(model.index(2));
    all[0].name = QStringLiteral("renamed");
    all[0].trackURLs.append(FileUrl("/x"));
    model.setPlaylists(all);
    EXPECT_EQ(model.inserted.count(), 1);
    EXPECT_EQ(model.index(0).data().toString(), QStringLiteral("renamed"));
    all.remove(1);
    model.setPlaylists(all);
    EXPECT_EQ(model.removed.count(), 1);
    EXPECT_EQ(last.row(), 1);
    EXPECT_EQ(model.rowOf(all[1].id), 1);
    EXPECT_EQ(model.rowOf(QUuid()), -1);
}

}  // namespace
}  // namespace halvenor::test
