// The track list in the window: selection, favourites, menus, and what a change costs.
#include <QScrollBar>

#include "ui/WindowFixture.h"
#include "ui/tracklist/TrackRowParts.h"

namespace halvenor::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class TrackListWindow : public WindowFixture {
  protected:
    QPoint heartOf(int row) {
        const QRect rect = list().visualRect(list().model()->index(row, 0));
        return TrackRowParts(rect, Qt::LeftToRight).heart.center().toPoint();
    }
    // The state hears of the manager's changes a turn later.
    bool isFavorite(int row) {
        QCoreApplication::processEvents();
        return state->isFavorite(state->playbackQueue->at(row));
    }
    std::string spoken(int row) {
        return list().model()->index(row, 0).data(Qt::AccessibleTextRole).toString().toStdString();
    }
    static QSet<QByteArray> idsOf(const std::vector<int>& numbers) {
        QSet<QByteArray> ids;
        for (const Track& track : numberedTracks(numbers)) {
            ids.insert(track.id());
        }
        return ids;
    }
};

TEST_F(TrackListWindow, selectsTracksByClicksAndKeys) {
    showTracks(50);
    struct Click {
        int row;
        Qt::KeyboardModifiers modifiers;
        std::vector<int> selected;
    };
    for (const Click& c : {Click{1, {}, {1}},
                           {3, Qt::ControlModifier, {1, 3}},
                           {5, Qt::ShiftModifier, {5}},  // no ranges
                           {5, Qt::ControlModifier, {}}}) {
        click(list(), c.row, c.modifiers);
        EXPECT_EQ(*state->selectedTrackIDs, idsOf(c.selected)) << c.row;
    }
    EXPECT_FALSE(state->selectedTrack->has_value()) << "a click chooses nothing to play";

    list().setFocus();
    key(Qt::Key_Down);
    EXPECT_EQ(*state->selectedTrackIDs, idsOf({6}));
    key(Qt::Key_End);
    EXPECT_EQ(*state->selectedTrackIDs, idsOf({49}));
    EXPECT_TRUE(
        spinUntil([&] { return list().viewport()->rect().contains(centreOf(list(), 49)); }));
}

TEST_F(TrackListWindow, takesOverTagsWithoutLosingItsPlace) {
    showTracks(2000);
    QSignalSpy resets(list().model(), &QAbstractItemModel::modelReset);
    list().verticalScrollBar()->setValue(800);
    QTest::qWait(60);
    PaintWatch paints(*list().viewport());
    TrackList tracks = *state->playbackQueue;
    for (int i = 0; i < 200; ++i) {
        Track track = tracks[i];
        track.setTitle(QStringLiteral("Named %1").arg(i));
        tracks.updateById({track});
        state->playbackQueue = tracks;
    }
    EXPECT_EQ(paints.count, 0) << "nothing is painted while the records come in";
    QTest::qWait(80);
    EXPECT_LE(paints.count, 2);
    EXPECT_GE(paints.count, 1);
    EXPECT_EQ(resets.count(), 0);
    EXPECT_EQ(list().verticalScrollBar()->value(), 800);
    EXPECT_EQ(list().model()->index(3, 0).data().toString(), QStringLiteral("Named 3"));
    EXPECT_THAT(spoken(3), testing::HasSubstr("Named 3, Artist"));

    showTracks(10, "other");
    EXPECT_EQ(resets.count(), 1);
    EXPECT_EQ(list().verticalScrollBar()->value(), 0);
}

TEST_F(TrackListWindow, togglesAFavoriteByItsHeart) {
    showTracks(5);
    QWidget& view = *list().viewport();
    const QPoint heart = heartOf(2);
    QTest::mouseClick(&view, Qt::LeftButton, {}, heart);
    EXPECT_TRUE(isFavorite(2));
    EXPECT_THAT(playlistNames(), ElementsAre("Favorites"));
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

TEST_F(TrackListWindow, togglesThePlayingTrackByKey) {
    showTracks(3);
    press(*window, 46, Qt::Key_L);
    EXPECT_THAT(playlistNames(), IsEmpty()) << "nothing plays";
    engine().currentTrack = state->playbackQueue->at(1);
    press(*window, 46, Qt::Key_L);
    EXPECT_TRUE(isFavorite(1));
    press(*window, 46, Qt::Key_L);
    EXPECT_FALSE(isFavorite(1));
}

TEST_F(TrackListWindow, repaintsTheHeartsThatChangedAlone) {
    showTracks(10'000);
    QTest::qWait(60);
    QWidget& view = *list().viewport();
    PaintWatch painted(view);
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

TEST_F(TrackListWindow, actsOnTheRowsThatAreChosen) {
    struct Case {
        const char* what;
        std::vector<int> selected;
        int clicked;
        Texts added;
        std::vector<int> selectedAfter;
    };
    const Case cases[] = {
        {"a row alone", {}, 4, {"4"}, {4}},
        {"all that are selected, in their order", {6, 1, 3}, 3, {"1", "3", "6"}, {1, 3, 6}},
        {"a row beside the selection", {1, 3}, 5, {"5"}, {5}},
    };
    showTracks(8);
    for (const Case& c : cases) {
        const QUuid id = makePlaylist(c.what).id;
        select(idsOf(c.selected));
        contextMenu(list(), c.clicked).choose("Add to Playlist", c.what);
        EXPECT_EQ(filesIn(id), c.added) << c.what;
        EXPECT_EQ(*state->selectedTrackIDs, idsOf(c.selectedAfter)) << c.what;
    }
}

TEST_F(TrackListWindow, addsAndRemovesFavoritesFromTheMenu) {
    showTracks(6);
    EXPECT_THAT(contextMenu(list(), 0).texts(),
                ElementsAre("Add to Favorites", "(Add to Playlist)", "-", "Show in Finder",
                            "Search on Discogs", "Tag Information…"));
    state->toggleFavorite(state->playbackQueue->at(1));
    QTest::qWait(1);
    select(idsOf({1, 2}));
    contextMenu(list(), 1).choose("Add to Favorites");
    EXPECT_TRUE(isFavorite(1)) << "what is one already stays one";
    EXPECT_TRUE(isFavorite(2));
    EXPECT_FALSE(isFavorite(0));
    QTest::qWait(1);
    contextMenu(list(), 2).choose("Remove from Favorites");
    EXPECT_FALSE(isFavorite(1));
    EXPECT_FALSE(isFavorite(2));
}

TEST_F(TrackListWindow, removesTracksFromThePlaylistOnShow) {
    showTracks(60);
    const Playlist playlist = makePlaylist("Shown", shown());
    const QUuid id = playlist.id;
    const QUuid other = makePlaylist("Other", {shown()[5]}).id;
    state->selectedFolder = std::nullopt;
    state->openPlaylist = playlist;
    state->playbackQueue = TrackList(*state->playbackQueue);
    list().verticalScrollBar()->setValue(200);
    select(idsOf({5, 7}));
    const OpenMenu menu = contextMenu(list(), 7);
    EXPECT_THAT(menu.texts(),
                ElementsAre("Add to Favorites", "Add to Playlist", "Remove from Playlist", "-",
                            "Show in Finder", "Search on Discogs", "Tag Information…"));
    menu.choose("Remove from Playlist");
    QTest::qWait(20);
    EXPECT_EQ(state->playbackQueue->size(), 58);
    EXPECT_EQ(filesIn(id).size(), 58U);
    EXPECT_FALSE(state->playbackQueue->containsId("/music/t/7"));
    EXPECT_TRUE(state->selectedTrackIDs->isEmpty());
    EXPECT_THAT(filesIn(other), ElementsAre("5"));
    EXPECT_EQ(list().verticalScrollBar()->value(), 200) << "the place in the list is kept";

    click(list(), 8);
    QTest::keyClick(&list(), Qt::Key_Delete);
    QTest::qWait(1);
    EXPECT_EQ(filesIn(id).size(), 57U);
    state->openPlaylist = makePlaylist("Favorites", {shown()[9]});
    EXPECT_THAT(contextMenu(list(), 6).texts(),
                testing::Not(testing::Contains("Remove from Playlist")))
        << "there is an entry for it already";
    state->openPlaylist = std::nullopt;
    click(list(), 8);
    QTest::keyClick(&list(), Qt::Key_Delete);
    QTest::qWait(20);
    EXPECT_EQ(state->playbackQueue->size(), 57) << "a folder's files stay where they are";
}

TEST(TrackListModel, keepsTheRowsThatStay) {
    WatchedModel<TrackListModel> model;
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
        const TrackList tracks = numberedTracks(c.rows);
        EXPECT_EQ(model.setTracks(tracks), c.change) << c.rows.size();
        EXPECT_EQ(model.tracks(), tracks);
        expectedResets += c.change == Change::list ? 1 : 0;
        EXPECT_EQ(model.resets.count(), expectedResets);
    }
}

}  // namespace
}  // namespace halvenor::test
