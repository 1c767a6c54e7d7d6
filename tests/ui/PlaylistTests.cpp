// Playlists and favourites in the window: what its buttons, menus, keys and sheets do to them.
#include <QAbstractButton>
#include <QAbstractItemModelTester>
#include <QFileDialog>
#include <QLineEdit>
#include <QPaintEvent>
#include <QScrollBar>
#include <QSignalSpy>

#include "support/TemporaryFolder.h"
#include "ui/WindowFixture.h"
#include "ui/controls/Spinner.h"
#include "ui/sidebar/PlaylistListView.h"
#include "ui/tracklist/TrackRowParts.h"

namespace halvenor {
namespace {

using test::ContextMenu;
using test::findByName;
using testing::ElementsAre;
using testing::IsEmpty;
using Names = std::vector<std::string>;

// Which part of a widget was painted.
class PaintedRegion : public QObject {
  public:
    explicit PaintedRegion(QWidget& widget) { widget.installEventFilter(this); }
    QRegion region;
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            region += static_cast<QPaintEvent*>(event)->region();
        }
        return false;
    }
};

class PlaylistWindow : public test::WindowFixture {
  protected:
    PlaylistManager& manager() { return state->playlistManager(); }
    PlaylistListView& playlists() {
        if (window->sidebar().section() != SidebarSection::playlists) {
            clickButton("Playlists");
        }
        return *window->sidebar().playlists();
    }
    Playlist make(const char* name, const QList<QByteArray>& paths = {}) {
        QList<Track> tracks;
        for (const QByteArray& path : paths) {
            tracks.append(test::exampleTrack(path, QString(), QString()));
        }
        return manager().createPlaylist(QString::fromUtf8(name), tracks);
    }
    Names names() const {
        Names names;
        for (const Playlist& playlist : *state->playlistManager().playlists) {
            names.push_back(playlist.name.toStdString());
        }
        return names;
    }
    // The file names in a playlist.
    Names files(const QUuid& id) const {
        Names files;
        for (const Playlist& playlist : *state->playlistManager().playlists) {
            if (playlist.id == id) {
                for (const FileUrl& url : playlist.trackURLs) {
                    files.push_back(url.lastPathComponent().toStdString());
                }
            }
        }
        return files;
    }
    // Shows tracks as those of a playlist, without a file on the disk.
    Playlist showPlaylistOf(int count) {
        showTracks(count);
        QList<QByteArray> paths;
        for (const Track& track : *state->playbackQueue) {
            paths.append(track.id());
        }
        const Playlist playlist = make("Shown", paths);
        state->selectedFolder = std::nullopt;
        state->openPlaylist = playlist;
        state->playbackQueue = TrackList(*state->playbackQueue);
        return playlist;
    }
    QPoint heartOf(int row) {
        const QRect rect = list().visualRect(list().model()->index(row, 0));
        return TrackRowParts(rect, Qt::LeftToRight).heart.center().toPoint();
    }
    // The state hears of the manager's changes a turn later.
    bool isFavorite(int row) {
        QCoreApplication::processEvents();
        return state->isFavorite(state->playbackQueue->at(row));
    }
    // The sheet's field, which has the focus.
    static QLineEdit& nameField() {
        auto* field = qobject_cast<QLineEdit*>(QApplication::focusWidget());
        if (field == nullptr) {
            throw std::runtime_error("no field has the focus");
        }
        return *field;
    }
};

// ---- The section
// ---------------------------------------------------------------------------------

TEST_F(PlaylistWindow, makesPlaylistsOfNamesThatSaySomething) {
    struct Case {
        const char* typed;
        const char* answer;  // a button's name, or "" for the key
        Qt::Key key;
        Names expected;
    };
    const Case cases[] = {
        {"Road", "", Qt::Key_Return, {"Road"}},
        {"  Late night ", "", Qt::Key_Return, {"Road", "Late night"}},
        {" \t ", "", Qt::Key_Return, {"Road", "Late night"}},
        {"Never", "", Qt::Key_Escape, {"Road", "Late night"}},
        {"Never", "Cancel", {}, {"Road", "Late night"}},
        {"Road", "Create", {}, {"Road", "Late night", "Road"}},
    };
    playlists().setFocus();
    for (const Case& c : cases) {
        clickButton("Add New Playlist");
        QLineEdit& field = nameField();
        EXPECT_EQ(field.accessibleName(), QStringLiteral("Playlist name"));
        EXPECT_TRUE(field.text().isEmpty()) << "what was typed before is gone";
        QTest::keyClicks(&field, QString::fromUtf8(c.typed));
        if (*c.answer != 0) {
            clickButton(c.answer);
        } else {
            QTest::keyClick(&field, c.key);
        }
        EXPECT_EQ(names(), c.expected) << c.typed;
        EXPECT_THROW(findByName<QWidget>(*window, "New Playlist"), std::runtime_error);
        EXPECT_EQ(QApplication::focusWidget(), &playlists()) << "the focus comes back";
    }
    EXPECT_EQ(playlists().currentIndex().row(), 2) << "the new one is at hand";
}

TEST_F(PlaylistWindow, keepsTheFocusInTheSheetAndThePointerOut) {
    clickButton("Playlists");
    clickButton("Add New Playlist");
    QLineEdit& field = nameField();
    for (const char* name : {"Cancel", "Create"}) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        EXPECT_EQ(QApplication::focusWidget()->accessibleName(), QString::fromUtf8(name));
    }
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), &field);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(QApplication::focusWidget()->accessibleName(), QStringLiteral("Create"));

    auto& sheet = findByName<QWidget>(*window, "New Playlist");
    EXPECT_EQ(sheet.geometry(), window->rect());
    window->resize(1300, 800);
    EXPECT_EQ(sheet.geometry(), window->rect());
    press(*window, 43, Qt::Key_H);
    EXPECT_EQ(window->childAt(1200, 100), &sheet) << "the history slides in beneath";
}

TEST_F(PlaylistWindow, renamesFromTheMenuAndByKey) {
    const Playlist playlist = make("Old");
    make("Favorites");
    state->openPlaylist = playlist;
    state->playbackQueue = TrackList{test::exampleTrack("/music/1", QString(), QString())};
    ContextMenu(playlists(), centreOf(playlists(), 0)).choose("Rename…");
    EXPECT_EQ(nameField().text(), QStringLiteral("Old"));
    QTest::keyClicks(&nameField(), QStringLiteral(" New & shiny "));
    QTest::keyClick(&nameField(), Qt::Key_Return);
    EXPECT_THAT(names(), ElementsAre("New & shiny", "Favorites"));

    for (const char* typed : {"  ", "Dropped"}) {
        QTest::keyClick(&playlists(), Qt::Key_F2);
        QTest::keyClicks(&nameField(), QString::fromUtf8(typed));
        QTest::keyClick(&nameField(), *typed == ' ' ? Qt::Key_Return : Qt::Key_Escape);
        EXPECT_THAT(names(), ElementsAre("New & shiny", "Favorites")) << typed;
    }
}

TEST_F(PlaylistWindow, deletesAnythingButTheFavorites) {
    make("Favorites");
    const Playlist playlist = make("Gone");
    EXPECT_THAT(ContextMenu(playlists(), centreOf(playlists(), 0)).texts(),
                ElementsAre("Rename…", "Import M3U…", "Export M3U…"));
    state->openPlaylist = playlist;
    ContextMenu menu(playlists(), centreOf(playlists(), 1));
    EXPECT_THAT(menu.texts(), ElementsAre("Rename…", "Import M3U…", "Export M3U…", "Delete"));
    menu.choose("Delete");
    QTest::qWait(1);
    EXPECT_THAT(names(), ElementsAre("Favorites"));
    EXPECT_EQ(playlists().model()->rowCount(), 1);
    EXPECT_FALSE(state->openPlaylist->has_value());
    EXPECT_THAT(ContextMenu(playlists(), QPoint(50, 300)).texts(),
                ElementsAre("Add New Playlist", "Import M3U…"));
}

TEST_F(PlaylistWindow, opensPlaylistsByClickAndKey) {
    const Playlist all[] = {make("A"), make("B"), make("C")};
    const auto opened = [&] {
        const auto& open = *state->openPlaylist;
        return open ? open->name.toStdString() : std::string();
    };
    click(playlists(), 1);
    EXPECT_EQ(opened(), "B");
    playlists().setFocus();
    QTest::keyClick(&playlists(), Qt::Key_Down);
    EXPECT_EQ(opened(), "B") << "walking opens nothing";
    QTest::keyClick(&playlists(), Qt::Key_Down);
    QTest::keyClick(&playlists(), Qt::Key_Return);
    EXPECT_EQ(opened(), "C");
    for (int i = 0; i < 3; ++i) {
        QTest::keyClick(&playlists(), Qt::Key_Up);
    }
    QTest::keyClick(&playlists(), Qt::Key_Enter);
    EXPECT_EQ(opened(), "A");

    state->deletePlaylist(all[1].id);
    QTest::keyClick(&playlists(), Qt::Key_Down);
    QTest::keyClick(&playlists(), Qt::Key_Return);
    EXPECT_EQ(opened(), "C") << "a row that goes leaves the place in the list";
}

TEST_F(PlaylistWindow, switchesSectionsAndFollowsAScrollRequestToTheFolders) {
    const FolderList roots = test::addRoots(*state, {"A"});
    tree().setFocus();
    clickButton("Search");
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("x"));
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
    const auto answer = [&](const QString& path) {
        auto* dialog = window->findChild<QFileDialog*>();
        ASSERT_NE(dialog, nullptr);
        dialog->selectFile(path);
        static_cast<QDialog*>(dialog)->accept();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    };
    const test::TemporaryFolder folder;
    folder.makeFile("Mixed tape.m3u", "#EXTM3U\n/music/a.mp3\n\n/music/b.mp3\n");
    folder.makeFile("latin.m3u", "/music/\xe9.mp3\n");
    const QString place = QString::fromUtf8(folder.url().path()) + QLatin1Char('/');
    clickButton("Playlists");
    clickButton("Import M3U…");
    answer(place + QStringLiteral("Mixed tape.m3u"));
    ASSERT_THAT(names(), ElementsAre("Mixed tape"));
    EXPECT_THAT(files(manager().playlists->first().id), ElementsAre("a.mp3", "b.mp3"));

    clickButton("Import M3U…");
    answer(place + QStringLiteral("latin.m3u"));
    EXPECT_THAT(names(), ElementsAre("Mixed tape"));
    EXPECT_FALSE(findByName<QWidget>(*window, "Import Failed").accessibleDescription().isEmpty());
    clickButton("OK");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

    const auto exportTo = [&](const QString& path) {
        ContextMenu(playlists(), centreOf(playlists(), 0)).choose("Export M3U…");
        answer(path);
    };
    exportTo(place + QStringLiteral("out"));
    QFile written(place + QStringLiteral("out.m3u8"));
    ASSERT_TRUE(written.open(QIODevice::ReadOnly)) << "an ending is added to a name without one";
    EXPECT_EQ(written.readAll(), "#EXTM3U\n/music/a.mp3\n/music/b.mp3\n");
}

TEST(PlaylistListModel, tellsOfWhatChangedAlone) {
    PlaylistListModel model(nullptr);
    const QAbstractItemModelTester tester(&model,
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
    Playlists all;
    for (const char* name : {"a", "b", "c"}) {
        all.append(Playlist{QUuid::createUuid(), QString::fromUtf8(name), {}});
    }
    model.setPlaylists(all);
    const QPersistentModelIndex last(model.index(2));
    all[0].name = QStringLiteral("renamed");
    all[0].trackURLs.append(FileUrl("/x"));
    model.setPlaylists(all);
    EXPECT_EQ(inserted.count(), 1);
    EXPECT_EQ(model.index(0).data().toString(), QStringLiteral("renamed"));
    all.remove(1);
    model.setPlaylists(all);
    EXPECT_EQ(removed.count(), 1);
    EXPECT_EQ(last.row(), 1);
    EXPECT_EQ(model.rowOf(all[1].id), 1);
    EXPECT_EQ(model.rowOf(QUuid()), -1);
}

// ---- Folders
// ------------------------------------------------------------------------------------

TEST_F(PlaylistWindow, offersWhatAFolderAllows) {
    const FolderList roots = test::addRoots(*state, {"A"});
    test::addFolders(*state, roots[0], {"inside"});
    state->expandedFolderIDs = QSet<QByteArray>{roots[0].id()};
    QTest::qWait(1);
    struct Case {
        int row;
        bool hasPlaylists, isRelocating;
        Names expected;
    };
    const Case cases[] = {
        {0,
         false,
         false,
         {"(Add to Playlist)", "Show in Finder", "Refresh", "Choose New Location…",
          "Remove Folder"}},
        {1,
         false,
         true,
         {"(Add to Playlist)", "Show in Finder", "Refresh", "(Choose New Location…)"}},
        {1, true, false, {"Add to Playlist", "Show in Finder", "Refresh", "Choose New Location…"}},
    };
    for (const Case& c : cases) {
        if (c.hasPlaylists) {
            make("One");
            make("R&B\ttoo");
        }
        state->isRelocating = c.isRelocating;
        const ContextMenu menu(tree(), centreOf(tree(), c.row));
        EXPECT_EQ(menu.texts(), c.expected) << c.row;
        if (c.hasPlaylists) {
            EXPECT_THAT(menu.submenuTexts("Add to Playlist"), ElementsAre("One", "R&&B too"));
        }
    }
    state->isRelocating = false;
}

TEST_F(PlaylistWindow, addsAFoldersTracksEvenIfItWasNeverListed) {
    const test::TemporaryFolder music;
    for (const char* name : {"far/2.mp3", "far/1.mp3", "far/below/3.mp3", "near/4.mp3"}) {
        music.makeFile(name);
    }
    state->rootFolders =
        FolderList{FolderItem(music.at("far"), true), FolderItem(music.at("near"), true)};
    QTest::qWait(1);
    const QUuid id = make("P").id;
    ContextMenu(tree(), centreOf(tree(), 0)).choose("Add to Playlist", "P");
    EXPECT_TRUE(test::spinUntil([&] { return !files(id).empty(); }));
    EXPECT_THAT(files(id), ElementsAre("1.mp3", "2.mp3"));
    ContextMenu(tree(), centreOf(tree(), 0)).choose("Add to Playlist", "P");
    EXPECT_THAT(files(id), ElementsAre("1.mp3", "2.mp3")) << "at once now, and none twice";
    EXPECT_FALSE(state->isFolderExpanded(state->rootFolders->front()));

    ContextMenu(tree(), centreOf(tree(), 1)).choose("Add to Playlist", "P");
    state->removeFolder(music.at("near"));
    QTest::qWait(1);
    state->openDirectory(music.at("near"));
    EXPECT_TRUE(test::spinUntil([&] { return !state->playbackQueue->isEmpty(); }));
    QTest::qWait(20);
    EXPECT_THAT(files(id), ElementsAre("1.mp3", "2.mp3")) << "a folder taken away adds nothing";
}

// ---- Tracks
// --------------------------------------------------------------------------------------

TEST_F(PlaylistWindow, togglesAFavoriteByItsHeart) {
    showTracks(5);
    QWidget& view = *list().viewport();
    const QPoint heart = heartOf(2);
    QTest::mouseClick(&view, Qt::LeftButton, {}, heart);
    EXPECT_TRUE(isFavorite(2));
    EXPECT_THAT(names(), ElementsAre("Favorites"));
    const auto spoken = [&](int row) {
        return list().model()->index(row, 0).data(Qt::AccessibleTextRole).toString().toStdString();
    };
    EXPECT_THAT(spoken(2), testing::EndsWith(", favorite"));
    EXPECT_THAT(spoken(1), testing::Not(testing::HasSubstr("favorite")));

    QTest::mouseClick(&view, Qt::LeftButton, {}, heart);
    QTest::mouseDClick(&view, Qt::LeftButton, {}, heart);
    EXPECT_FALSE(engine().currentTrack->has_value()) << "two quick clicks play nothing";

    struct Drag {
        QPoint from, to;
    };
    const bool before = isFavorite(2);
    const QPoint title(heart - QPoint(300, 0));
    for (const Drag& drag : {Drag{heart, title}, Drag{title, heart}, Drag{heart, heartOf(3)}}) {
        QTest::mousePress(&view, Qt::LeftButton, {}, drag.from);
        QTest::mouseRelease(&view, Qt::LeftButton, {}, drag.to);
        EXPECT_EQ(isFavorite(2), before);
        EXPECT_FALSE(isFavorite(3));
    }
    QTest::mouseClick(&view, Qt::RightButton, {}, heart);
    EXPECT_EQ(isFavorite(2), before);
}

TEST_F(PlaylistWindow, togglesThePlayingTrackByKey) {
    showTracks(3);
    press(*window, 46, Qt::Key_L);
    EXPECT_THAT(names(), IsEmpty()) << "nothing plays";
    engine().currentTrack = state->playbackQueue->at(1);
    press(*window, 46, Qt::Key_L);
    EXPECT_TRUE(isFavorite(1));
    press(*window, 46, Qt::Key_L);
    EXPECT_FALSE(isFavorite(1));
}

TEST_F(PlaylistWindow, repaintsTheHeartsThatChangedAlone) {
    showTracks(10'000);
    QTest::qWait(60);
    QWidget& view = *list().viewport();
    PaintedRegion painted(view);
    const auto paintedBy = [&](int row) {
        painted.region = QRegion();
        state->toggleFavorite(state->playbackQueue->at(row));
        QTest::qWait(20);
        return painted.region.boundingRect();
    };
    EXPECT_EQ(paintedBy(9'000), QRect()) << "a row that does not show";
    const QRect heart = paintedBy(3);
    EXPECT_TRUE(heart.contains(heartOf(3)));
    EXPECT_LE(heart.width(), 40);
    EXPECT_LE(heart.height(), TrackRowParts::rowHeight);

    list().verticalScrollBar()->setValue(9'000 * TrackRowParts::rowHeight);
    QTest::qWait(20);
    EXPECT_TRUE(paintedBy(9'000).contains(heartOf(9'000)));
    EXPECT_EQ(paintedBy(3), QRect());
}

TEST_F(PlaylistWindow, actsOnTheRowsThatAreChosen) {
    struct Case {
        const char* what;
        std::vector<int> selected;
        int clicked;
        Names added;
        std::vector<int> selectedAfter;
    };
    const Case cases[] = {
        {"a row alone", {}, 4, {"4"}, {4}},
        {"all that are selected, in their order", {6, 1, 3}, 3, {"1", "3", "6"}, {1, 3, 6}},
        {"a row beside the selection", {1, 3}, 5, {"5"}, {5}},
    };
    showTracks(8);
    for (const Case& c : cases) {
        const QUuid id = make(c.what).id;
        const auto idsOf = [&](const std::vector<int>& rows) {
            QSet<QByteArray> ids;
            for (const int row : rows) {
                ids.insert(state->playbackQueue->at(row).id());
            }
            return ids;
        };
        state->selectedTrackIDs = idsOf(c.selected);
        ContextMenu(list(), centreOf(list(), c.clicked)).choose("Add to Playlist", c.what);
        EXPECT_EQ(files(id), c.added) << c.what;
        EXPECT_EQ(*state->selectedTrackIDs, idsOf(c.selectedAfter)) << c.what;
    }
}

TEST_F(PlaylistWindow, addsAndRemovesFavoritesFromTheMenu) {
    showTracks(6);
    EXPECT_THAT(ContextMenu(list(), centreOf(list(), 0)).texts(),
                ElementsAre("Add to Favorites", "(Add to Playlist)", "Show in Finder",
                            "Search on Discogs", "Tag Information…"));
    state->toggleFavorite(state->playbackQueue->at(1));
    QTest::qWait(1);
    state->selectedTrackIDs = QSet<QByteArray>{"/music/t/1", "/music/t/2"};
    ContextMenu(list(), centreOf(list(), 1)).choose("Add to Favorites");
    EXPECT_TRUE(isFavorite(1)) << "what is one already stays one";
    EXPECT_TRUE(isFavorite(2));
    EXPECT_FALSE(isFavorite(0));
    QTest::qWait(1);
    ContextMenu(list(), centreOf(list(), 2)).choose("Remove from Favorites");
    EXPECT_FALSE(isFavorite(1));
    EXPECT_FALSE(isFavorite(2));
}

TEST_F(PlaylistWindow, removesTracksFromThePlaylistOnShow) {
    const QUuid id = showPlaylistOf(60).id;
    const QUuid other = make("Other", {"/music/t/5"}).id;
    list().verticalScrollBar()->setValue(200);
    state->selectedTrackIDs = QSet<QByteArray>{"/music/t/5", "/music/t/7"};
    ContextMenu menu(list(), centreOf(list(), 7));
    EXPECT_THAT(menu.texts(),
                ElementsAre("Add to Favorites", "Add to Playlist", "Remove from Playlist",
                            "Show in Finder", "Search on Discogs", "Tag Information…"));
    menu.choose("Remove from Playlist");
    QTest::qWait(20);
    EXPECT_EQ(state->playbackQueue->size(), 58);
    EXPECT_EQ(files(id).size(), 58U);
    EXPECT_FALSE(state->playbackQueue->containsId("/music/t/7"));
    EXPECT_TRUE(state->selectedTrackIDs->isEmpty());
    EXPECT_THAT(files(other), ElementsAre("5"));
    EXPECT_EQ(list().verticalScrollBar()->value(), 200) << "the place in the list is kept";

    click(list(), 8);
    QTest::keyClick(&list(), Qt::Key_Delete);
    QTest::qWait(1);
    EXPECT_EQ(files(id).size(), 57U);
    state->openPlaylist = make("Favorites", {"/music/t/9"});
    EXPECT_THAT(ContextMenu(list(), centreOf(list(), 6)).texts(),
                testing::Not(testing::Contains("Remove from Playlist")))
        << "there is an entry for it already";
    state->openPlaylist = std::nullopt;
    click(list(), 8);
    QTest::keyClick(&list(), Qt::Key_Delete);
    QTest::qWait(20);
    EXPECT_EQ(state->playbackQueue->size(), 57) << "a folder's files stay where they are";
}

TEST_F(PlaylistWindow, turnsItsSignWhileAPlaylistIsRead) {
    const auto isTurning = [&] {
        return std::ranges::any_of(window->trackList().children(), [](QObject* child) {
            const auto* spinner = dynamic_cast<Spinner*>(child);
            return spinner != nullptr && spinner->isVisible();
        });
    };
    state->openPlaylist = make("Empty");
    state->isScanning = true;
    EXPECT_FALSE(isTurning()) << "what is there at once needs no sign";
    EXPECT_TRUE(test::spinUntil(isTurning));
    state->isScanning = false;
    EXPECT_FALSE(isTurning());
}

TEST(TrackListModel, keepsTheRowsThatStay) {
    const auto queueOf = [](const std::vector<int>& rows) {
        TrackList tracks;
        for (const int row : rows) {
            tracks.append(test::exampleTrack("/music/t/" + QByteArray::number(row),
                                             QString::number(row), QStringLiteral("Artist")));
        }
        return tracks;
    };
    TrackListModel model(nullptr);
    const QAbstractItemModelTester tester(&model,
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    using Change = TrackListModel::Change;
    struct Case {
        std::vector<int> rows;
        Change change;
    };
    const Case cases[] = {
        {{1, 2, 3, 4}, Change::list}, {{1, 3, 4}, Change::rows}, {{1, 9, 8, 4}, Change::rows},
        {{1}, Change::rows},          {{1}, Change::records},    {{1, 1, 1}, Change::rows},
        {{7, 8}, Change::list},       {{}, Change::list},        {{}, Change::records},
    };
    int expectedResets = 0;
    for (const Case& c : cases) {
        EXPECT_EQ(model.setTracks(queueOf(c.rows)), c.change) << c.rows.size();
        EXPECT_EQ(model.tracks(), queueOf(c.rows));
        expectedResets += c.change == Change::list ? 1 : 0;
        EXPECT_EQ(resets.count(), expectedResets);
    }
}

}  // namespace
}  // namespace halvenor
