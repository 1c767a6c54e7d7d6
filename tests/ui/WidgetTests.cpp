// Real widgets on a real state: what the pointer and the keyboard do, and what a change costs.
#include <QAbstractButton>
#include <QAbstractItemModelTester>
#include <QLineEdit>
#include <QScrollBar>
#include <QSignalSpy>

#include "ui/WindowFixture.h"
#include "ui/controls/ThinSlider.h"
#include "ui/mainwindow/SplitDivider.h"
#include "ui/playerbar/HistoryPanel.h"
#include "ui/playerbar/PlayerBarView.h"
#include "ui/playerbar/TimelineView.h"
#include "ui/sidebar/FolderRowParts.h"

namespace halvenor {
namespace {

class PaintCounter : public QObject {
  public:
    explicit PaintCounter(QWidget& widget) { widget.installEventFilter(this); }
    int count = 0;
    bool eventFilter(QObject*, QEvent* event) override {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
};

using test::findByName;

class Window : public test::WindowFixture {};

// ---- Slider
// --------------------------------------------------------------------------------------

TEST(ThinSlider, reportsEachStepOfADragAndNoButtonElse) {
    QWidget parent;
    ThinSlider slider(QStringLiteral("Test"), &parent);
    slider.setRange(0, 10);
    slider.resize(110, 16);
    std::vector<double> wishes;
    slider.onValueWished = [&](double value) {
        wishes.push_back(value);
        slider.setValue(value);
    };
    QTest::mousePress(&slider, Qt::LeftButton, {}, QPoint(55, 8));
    QTest::mouseMove(&slider, QPoint(80, 8));
    QTest::mouseMove(&slider, QPoint(400, 8));
    QTest::mouseRelease(&slider, Qt::LeftButton, {}, QPoint(400, 8));
    ASSERT_EQ(wishes.size(), 3U);
    EXPECT_NEAR(wishes[0], 5, 0.01);
    EXPECT_GT(wishes[1], wishes[0]);
    EXPECT_EQ(wishes[2], 10);
    QTest::mouseMove(&slider, QPoint(10, 8));
    QTest::mouseClick(&slider, Qt::RightButton, {}, QPoint(10, 8));
    EXPECT_EQ(wishes.size(), 3U);
    slider.setStep(1);
    QTest::keyClick(&slider, Qt::Key_Left);
    EXPECT_EQ(wishes.back(), 9);
    QTest::keyClick(&slider, Qt::Key_Home);
    QTest::keyClick(&slider, Qt::Key_Left);
    EXPECT_EQ(wishes.back(), 0);
}

TEST_F(Window, repaintsNothingForATimeThatMovesNoPixel) {
    engine().duration = 300;
    engine().currentTime = 100;
    QTest::qWait(50);
    state->showWaveform = false;
    QTest::qWait(50);
    ThinSlider& timeline = window->playerBar().timeline().slider();
    PaintCounter slider(timeline);
    PaintCounter bar(window->playerBar());
    for (int tenth = 1; tenth <= 5; ++tenth) {
        engine().currentTime = 100 + tenth * 0.01;
        QTest::qWait(5);
    }
    EXPECT_EQ(slider.count, 0);
    engine().currentTime = 150;
    QTest::qWait(20);
    EXPECT_EQ(slider.count, 1);
    EXPECT_EQ(bar.count, 0) << "the bar itself need not repaint";

    window->showMinimized();
    QTest::qWait(20);
    slider.count = 0;
    engine().currentTime = 200;
    QTest::qWait(20);
    EXPECT_EQ(slider.count, 0);
    window->showNormal();
    QTest::qWait(20);
    EXPECT_EQ(timeline.value(), 200);
}

// ---- Keyboard
// ------------------------------------------------------------------------------------

TEST_F(Window, actsOnBareKeysUnlessTextIsTyped) {
    const bool wasMuted = *engine().isMuted;
    EXPECT_TRUE(press(tree(), 58, Qt::Key_Comma));  // M's place, on a French layout
    EXPECT_NE(*engine().isMuted, wasMuted);
    press(tree(), 58, Qt::Key_M, Qt::ControlModifier);
    EXPECT_NE(*engine().isMuted, wasMuted) << "with Control it is another key";

    test::addRoots(*state, {"A"});
    QTest::qWait(1);
    QTest::mouseClick(&findByName<QAbstractButton>(*window, "Search"), Qt::LeftButton);
    auto* field = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    ASSERT_NE(field, nullptr);
    press(*field, 58, Qt::Key_M, {}, QStringLiteral("m"));
    press(*field, 65, Qt::Key_Space, {}, QStringLiteral(" "));
    EXPECT_EQ(field->text(), QStringLiteral("m "));
    EXPECT_EQ(*state->searchQuery, QStringLiteral("m "));
    EXPECT_NE(*engine().isMuted, wasMuted);

    QTest::mouseClick(&findByName<QAbstractButton>(*window, "Search"), Qt::LeftButton);
    EXPECT_TRUE(field->isHidden());
    EXPECT_TRUE(state->searchQuery->isEmpty());
}

TEST_F(Window, keepsSpaceFromTheFocusedButtonAndAHeldKeyFromFluttering) {
    auto& button = findByName<QAbstractButton>(*window, "Shuffle");
    button.setFocus(Qt::TabFocusReason);
    QTest::keyClick(&button, Qt::Key_Space);
    EXPECT_FALSE(*state->isShuffleEnabled);
    QTest::keyClick(&button, Qt::Key_Return);
    EXPECT_TRUE(*state->isShuffleEnabled);

    press(*window, 43, Qt::Key_H);
    EXPECT_TRUE(window->history().isShown());
    QKeyEvent held(QEvent::KeyPress, Qt::Key_H, Qt::NoModifier, 43, 0, 0, QString(), true);
    QCoreApplication::sendEvent(window.get(), &held);
    EXPECT_TRUE(window->history().isShown());
    press(*window, 43, Qt::Key_H);
    EXPECT_TRUE(test::spinUntil([&] { return window->history().isHidden(); }));
}

// ---- Layout
// --------------------------------------------------------------------------------------

TEST_F(Window, dividesItsWidthByDraggingWithinTheLimits) {
    window->resize(1000, 700);
    EXPECT_EQ(window->sidebar().width(), 300);
    auto* divider = window->findChild<QWidget*>(QStringLiteral("divider"));
    ASSERT_NE(divider, nullptr);
    EXPECT_EQ(divider->cursor().shape(), Qt::SplitHCursor);
    const auto dragTo = [&](int x) {
        QTest::mousePress(divider, Qt::LeftButton, {}, QPoint(10, 50));
        QTest::mouseMove(divider, divider->mapFrom(window.get(), QPoint(x, 50)));
        QTest::mouseRelease(divider, Qt::LeftButton);
    };
    dragTo(450);
    EXPECT_EQ(window->sidebar().width(), 450);
    dragTo(20);
    EXPECT_EQ(window->sidebar().width(), 300);
    dragTo(990);
    EXPECT_EQ(window->sidebar().width(), 600);
    EXPECT_EQ(window->trackList().x(), 601);
    window->resize(1400, 700);
    EXPECT_EQ(window->sidebar().width(), 840) << "the fraction is kept";
}

TEST_F(Window, showsErrorsUntilTheyAreDismissed) {
    state->playbackErrorMessage = QStringLiteral("first");
    auto& confirm = findByName<QAbstractButton>(*window, "OK");
    state->playbackErrorMessage = QStringLiteral("second");
    EXPECT_EQ(findByName<QWidget>(*window, "Playback Error").accessibleDescription(),
              QStringLiteral("second"));
    QTest::keyClick(&confirm, Qt::Key_Return);
    EXPECT_FALSE(state->playbackErrorMessage->has_value());
    EXPECT_FALSE(confirm.isVisible());
    state->playbackErrorMessage = QStringLiteral("third");
    QTest::keyClick(&confirm, Qt::Key_Escape);
    EXPECT_FALSE(state->playbackErrorMessage->has_value());
}

// ---- Folder tree
// ---------------------------------------------------------------------------------

TEST_F(Window, clicksOpenToggleAndMark) {
    const FolderList roots = test::addRoots(*state, {"A", "B"});
    const FolderList inside = test::addFolders(*state, roots[0], {"one", "two"});
    test::addFolders(*state, inside[0], {});
    QTest::qWait(1);
    ASSERT_EQ(tree().model()->rowCount(), 2);
    click(tree(), 0);
    QTest::qWait(1);
    EXPECT_EQ(tree().model()->rowCount(), 4);
    EXPECT_EQ((*state->selectedFolder)->id(), roots[0].id());
    click(tree(), 1);
    EXPECT_EQ((*state->selectedFolder)->id(), inside[0].id());
    EXPECT_FALSE(state->isFolderExpanded(inside[0])) << "it has no children to show";

    const FolderRowParts parts(tree().visualRect(tree().model()->index(2, 0)), 1, Qt::LeftToRight);
    QTest::mouseClick(tree().viewport(), Qt::LeftButton, {}, parts.icon.center());
    EXPECT_TRUE(state->isFolderMarked(inside[1]));
    EXPECT_EQ((*state->selectedFolder)->id(), inside[0].id()) << "marking does not open";

    state->showMarkedFoldersOnly = true;
    QTest::qWait(1);
    EXPECT_EQ(tree().model()->rowCount(), 2);
    state->showMarkedFoldersOnly = false;
    click(tree(), 0);
    QTest::qWait(1);
    EXPECT_EQ(tree().model()->rowCount(), 2) << "a second click collapses";
}

TEST_F(Window, arrowKeysWalkTheTree) {
    const FolderList roots = test::addRoots(*state, {"A", "B"});
    test::addFolders(*state, roots[0], {"one", "two"});
    QTest::qWait(1);
    tree().setFocus();
    const auto opened = [&] { return (*state->selectedFolder)->name(); };
    QTest::keyClick(&tree(), Qt::Key_Down);
    EXPECT_EQ(opened(), "A");
    QTest::keyClick(&tree(), Qt::Key_Up);
    EXPECT_EQ(opened(), "A") << "it does not wrap";
    QTest::keyClick(&tree(), Qt::Key_Right);
    EXPECT_TRUE(state->isFolderExpanded(roots[0]));
    QTest::keyClick(&tree(), Qt::Key_Right);
    EXPECT_EQ(opened(), "one");
    QTest::keyClick(&tree(), Qt::Key_Down);
    EXPECT_EQ(opened(), "two");
    QTest::keyClick(&tree(), Qt::Key_Left);
    EXPECT_EQ(opened(), "A");
    QTest::keyClick(&tree(), Qt::Key_Left);
    EXPECT_FALSE(state->isFolderExpanded(roots[0]));
    state->searchQuery = QStringLiteral("x");
    QTest::keyClick(&tree(), Qt::Key_Right);
    EXPECT_FALSE(state->isFolderExpanded(roots[0])) << "search results have no levels";
}

TEST(FolderTreeModel, tellsOfWhatChangedAlone) {
    FolderTreeModel model(nullptr);
    const QAbstractItemModelTester tester(&model,
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
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
    EXPECT_EQ(resets.count(), 0);
}

TEST_F(Window, keepsItsPlaceInALongTreeAndScrollsToRequests) {
    const FolderList roots = test::addRoots(*state, {"A"});
    QList<QByteArray> names;
    for (int i = 0; i < 3000; ++i) {
        names << QByteArray::number(i);
    }
    const FolderList folders = test::addFolders(*state, roots[0], names);
    test::addFolders(*state, folders[2500], {"x", "y"});
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
    EXPECT_TRUE(test::spinUntil(
        [&] { return std::abs(centreOf(tree(), 101).y() - viewport.center().y()) < 3; }));
}

// ---- Track list
// ----------------------------------------------------------------------------------

TEST_F(Window, selectsTracksByClicksAndKeys) {
    showTracks(50);
    const auto ids = [&] { return *state->selectedTrackIDs; };
    click(list(), 1);
    EXPECT_EQ(ids(), QSet<QByteArray>{"/music/t/1"});
    click(list(), 3, Qt::ControlModifier);
    EXPECT_EQ(ids(), (QSet<QByteArray>{"/music/t/1", "/music/t/3"}));
    click(list(), 5, Qt::ShiftModifier);
    EXPECT_EQ(ids(), QSet<QByteArray>{"/music/t/5"}) << "no ranges";
    click(list(), 5, Qt::ControlModifier);
    EXPECT_TRUE(ids().isEmpty());
    EXPECT_FALSE(state->selectedTrack->has_value()) << "a click chooses nothing to play";

    list().setFocus();
    QTest::keyClick(&list(), Qt::Key_Down);
    EXPECT_EQ(ids(), QSet<QByteArray>{"/music/t/6"});
    QTest::keyClick(&list(), Qt::Key_End);
    EXPECT_EQ(ids(), QSet<QByteArray>{"/music/t/49"});
    EXPECT_TRUE(
        test::spinUntil([&] { return list().viewport()->rect().contains(centreOf(list(), 49)); }));
}

TEST_F(Window, takesOverTagsWithoutLosingItsPlace) {
    showTracks(2000);
    QSignalSpy resets(list().model(), &QAbstractItemModel::modelReset);
    list().verticalScrollBar()->setValue(800);
    QTest::qWait(60);
    PaintCounter paints(*list().viewport());
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
    EXPECT_THAT(list().model()->index(3, 0).data(Qt::AccessibleTextRole).toString().toStdString(),
                testing::HasSubstr("Named 3, Artist"));

    showTracks(10, "other");
    EXPECT_EQ(resets.count(), 1);
    EXPECT_EQ(list().verticalScrollBar()->value(), 0);
}

// Every control can be found and named by those who can't see it.
TEST_F(Window, namesItsControls) {
    test::fillWithExample(*state);
    QTest::qWait(20);
    for (const QAbstractButton* button : window->findChildren<QAbstractButton*>()) {
        EXPECT_FALSE(button->accessibleName().isEmpty()) << button->metaObject()->className();
        EXPECT_NE(button->focusPolicy(), Qt::NoFocus) << qPrintable(button->accessibleName());
    }
    for (const char* name :
         {"Previous (,)", "Pause (Space)", "Next (.)", "Repeat Off", "Toggle mute (m)",
          "History (h)", "Show Playing Track Folder", "Mark Folder", "Preferences (F10)",
          "Show Checked Folders", "Cover Mode (c)", "Add to Favorites (l)"}) {
        EXPECT_NO_THROW(findByName<QAbstractButton>(*window, name)) << name;
    }
}

}  // namespace
}  // namespace halvenor
