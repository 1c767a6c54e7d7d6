// The decisions of the window that need no widget.
#include <cmath>
#include <gmock/gmock.h>
#include <limits>

#include "ui/ExampleLibrary.h"
#include "ui/controls/ThinSliderGeometry.h"
#include "ui/controls/TimeFormat.h"
#include "ui/covermode/CoverModeLayout.h"
#include "ui/mainwindow/KeyMap.h"
#include "ui/mainwindow/SplitRule.h"
#include "ui/sidebar/FolderRowParts.h"
#include "ui/sidebar/FolderTreeRows.h"
#include "ui/tracklist/AlbumSummary.h"
#include "ui/waveform/AnimationClock.h"
#include "ui/waveform/EnvelopePath.h"

namespace halvenor::test {
namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinite = std::numeric_limits<double>::infinity();

TEST(SplitRule, keepsBothSidesUsableAndTheUpperLimitWins) {
    struct Case {
        double wanted, width, expected;
    };
    for (const Case& c :
         {Case{0.3, 800, 0.3375}, Case{0.3, 920, 0.3}, Case{0.9, 920, 0.6}, Case{0.1, 1100, 0.3},
          Case{0.45, 1100, 0.45}, Case{0.3, 500, 0.46}, Case{0.5, 0.5, -269.0}}) {
        EXPECT_NEAR(splitFraction(c.wanted, c.width), c.expected, 1e-9) << c.width;
    }
    EXPECT_NEAR(splitFractionForDrag(500, 1000), 0.5, 1e-9);
    EXPECT_NEAR(splitFractionForDrag(-80, 1000), 0.3, 1e-9);
}

TEST(TimeFormat, countsMinutesWithoutHoursAndRefusesWhatIsNoTime) {
    const std::pair<double, const char*> cases[] = {
        {0, "0:00"},    {59.999, "0:59"},     {60, "1:00"},       {4503, "75:03"}, {3725, "62:05"},
        {-0.5, "0:00"}, {notANumber, "0:00"}, {infinite, "0:00"}, {-3, "0:00"},    {1e300, "0:00"}};
    for (const auto& [seconds, text] : cases) {
        EXPECT_EQ(formatTime(seconds).toStdString(), text) << seconds;
    }
}

TEST(AlbumDuration, hasHoursFromAnHourOn) {
    const std::pair<double, const char*> cases[] = {
        {0, "0:00"},           {3599, "59:59"},      {3600, "1:00:00"}, {3661.9, "1:01:01"},
        {360000, "100:00:00"}, {notANumber, "0:00"}, {infinite, "0:00"}};
    for (const auto& [seconds, text] : cases) {
        EXPECT_EQ(formatAlbumDuration(seconds).toStdString(), text) << seconds;
    }
}

TEST(ThinSliderGeometry, placesTheKnobAndReadsThePointer) {
    const ThinSliderGeometry slider{109.6, 0, 200};
    EXPECT_NEAR(slider.usableWidth(), 100, 1e-9);
    EXPECT_NEAR(slider.filledWidth(0), 4.8, 1e-9);
    EXPECT_NEAR(slider.filledWidth(100), 54.8, 1e-9);
    EXPECT_NEAR(slider.filledWidth(1e9), 104.8, 1e-9);
    EXPECT_NEAR(slider.filledWidth(-5), 4.8, 1e-9);
    EXPECT_NEAR(slider.valueAt(-20), 0, 1e-9);
    EXPECT_NEAR(slider.valueAt(54.8), 100, 1e-9);
    EXPECT_NEAR(slider.valueAt(500), 200, 1e-9);
    EXPECT_EQ(slider.fraction(notANumber), 0);

    const ThinSliderGeometry narrow{4, 0, 1};
    EXPECT_NEAR(narrow.usableWidth(), 1, 1e-9);
    EXPECT_NEAR(narrow.valueAt(4), 0, 1e-9);
    EXPECT_NEAR(narrow.valueAt(10), 1, 1e-9);
    const ThinSliderGeometry empty{100, 5, 5};  // a range of nothing must not divide by it
    EXPECT_TRUE(std::isfinite(empty.fraction(5)));
    EXPECT_NEAR(empty.valueAt(50), 5, 0.001);
}

TEST(KeyMap, actsOnPlacesAndLeavesModifiedKeysAlone) {
    struct Case {
        quint32 scan;
        int key;
        Qt::KeyboardModifiers modifiers;
        std::optional<WindowAction> action;
    };
    const Case cases[] = {
        {43, Qt::Key_H, Qt::NoModifier, WindowAction::toggleHistory},
        {42, Qt::Key_G, Qt::NoModifier, WindowAction::revealPlayingFile},
        {46, Qt::Key_L, Qt::NoModifier, WindowAction::toggleFavorite},
        {59, Qt::Key_Comma, Qt::NoModifier, WindowAction::playPrevious},
        {58, Qt::Key_M, Qt::NoModifier, WindowAction::toggleMute},
        {60, Qt::Key_Period, Qt::NoModifier, WindowAction::playNext},
        {65, Qt::Key_Space, Qt::NoModifier, WindowAction::togglePlayPause},
        {58, Qt::Key_Comma, Qt::NoModifier, WindowAction::toggleMute},  // a French layout
        {47, Qt::Key_M, Qt::NoModifier, std::nullopt},                  // its own M elsewhere
        {58, Qt::Key_M, Qt::ShiftModifier, WindowAction::toggleMute},
        {58, Qt::Key_M, Qt::ControlModifier, std::nullopt},
        {58, Qt::Key_M, Qt::AltModifier, std::nullopt},
        {58, Qt::Key_M, Qt::MetaModifier | Qt::ShiftModifier, std::nullopt},
        {0, Qt::Key_Period, Qt::NoModifier, WindowAction::playNext},  // no scan code known
        {0, Qt::Key_X, Qt::NoModifier, std::nullopt},
        {113, Qt::Key_Left, Qt::NoModifier, std::nullopt},
        {54, Qt::Key_C, Qt::ShiftModifier, WindowAction::toggleCoverMode},
        {54, Qt::Key_C, Qt::ControlModifier, std::nullopt},
        {76, Qt::Key_F10, Qt::NoModifier, WindowAction::showSettings},
        {76, Qt::Key_F10, Qt::ControlModifier | Qt::AltModifier, WindowAction::showSettings},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(windowAction(c.scan, c.key, c.modifiers), c.action) << c.scan << " " << c.key;
    }
}

// ---- Cover Mode

TEST(CoverModeLayout, stepsWhereTheDesignSteps) {
    struct Case {
        QSizeF window;
        double gutter, column, pane, side, timeline;
    };
    const Case cases[] = {
        {{600, 500}, 30, 260, 360, 324, 260},   // the column has a least width
        {{1100, 700}, 55, 385, 660, 500, 385},  //
        {{1280, 300}, 64, 448, 768, 270, 448},  // low: the height decides
        {{1399, 900}, 69.95, 489.65, 839.4, 500, 465.1675},
        {{1400, 900}, 112, 448, 840, 500, 403.2},
        {{2000, 1000}, 160, 640, 1200, 500, 576},
    };
    for (const Case& c : cases) {
        const CoverModeLayout layout(c.window);
        EXPECT_NEAR(layout.gutter, c.gutter, 1e-9) << c.window.width();
        EXPECT_NEAR(layout.column, c.column, 1e-9) << c.window.width();
        EXPECT_NEAR(layout.pane, c.pane, 1e-9) << c.window.width();
        EXPECT_NEAR(layout.coverSide, c.side, 1e-9) << c.window.width();
        EXPECT_NEAR(layout.timelineWidth, c.timeline, 1e-9) << c.window.width();
        EXPECT_NEAR(layout.volumeWidth, c.column / 4, 1e-9) << c.window.width();
    }
}

// ---- Waveform

TEST(EnvelopePath, isMirroredAndNowhereThin) {
    EXPECT_TRUE(envelopePath({}, 100, 40).isEmpty());
    EXPECT_TRUE(envelopePath({1}, 100, 40).isEmpty());
    const QPainterPath path = envelopePath({1.0F, 0.08F, 0.5F}, 100, 40);
    ASSERT_EQ(path.elementCount(), 8);
    const QPointF expected[] = {{0, 20},     {0, 1},   {50, 18}, {100, 10.5},
                                {100, 29.5}, {50, 22}, {0, 39},  {0, 20}};
    for (int i = 0; i < 8; ++i) {
        EXPECT_NEAR(path.elementAt(i).x, expected[i].x(), 1e-6) << i;
        EXPECT_NEAR(path.elementAt(i).y, expected[i].y(), 1e-6) << i;
    }
}

TEST(AnimationClock, standsWhileItShouldNotRunAndGoesOnFromThere) {
    using namespace std::chrono_literals;
    const AnimationClock::TimePoint start;
    AnimationClock clock;
    EXPECT_EQ(clock.elapsed(start + 5s), 0);
    clock.update(true, start + 5s);
    clock.update(true, start + 6s);
    EXPECT_EQ(clock.elapsed(start + 7s), 2);
    clock.update(false, start + 8s);
    clock.update(false, start + 9s);
    EXPECT_EQ(clock.elapsed(start + 20s), 3);
    clock.update(true, start + 30s);
    EXPECT_EQ(clock.elapsed(start + 31s), 4);
}

// ---- Folder tree

struct Tree {
    FolderList roots{FolderItem(FileUrl("/m/a"), true), FolderItem(FileUrl("/m/b"), true)};
    QHash<QByteArray, FolderList> children{
        {"/m/a", {FolderItem(FileUrl("/m/a/x"), true), FolderItem(FileUrl("/m/a/y"), true)}},
        {"/m/a/y", {FolderItem(FileUrl("/m/a/y/z"), true)}},
        {"/m/b", {}}};
    QSet<QByteArray> expanded{"/m/a"};
    QSet<QByteArray> marked;
    bool isMarkedOnly = false;
    bool hasQuery = false;
    FolderList results;
    FolderFilter filter{false, {}};

    FolderTreeSource source() {
        filter = FolderFilter(isMarkedOnly, marked);
        return {roots, children, expanded, filter, hasQuery, results};
    }
    QByteArrayList shown() {
        QByteArrayList ids;
        for (const FolderRow& row : visibleFolderRows(source())) {
            ids << QByteArray(row.depth, ' ') + row.folder.id();
        }
        return ids;
    }
};

TEST(FolderTreeRows, walksIntoExpandedFoldersAndObeysTheFilter) {
    Tree tree;
    EXPECT_EQ(tree.shown(), QByteArrayList({"/m/a", " /m/a/x", " /m/a/y", "/m/b"}));
    tree.expanded.insert("/m/a/y");
    tree.isMarkedOnly = true;
    EXPECT_TRUE(tree.shown().isEmpty());
    tree.marked = {"/m/a/y/z", "/m/b2"};  // a sibling with a longer name is not above it
    EXPECT_EQ(tree.shown(), QByteArrayList({"/m/a", " /m/a/y", "  /m/a/y/z"}));
    tree.hasQuery = true;
    tree.results = {tree.children["/m/a/y"][0], tree.children["/m/a"][0]};
    EXPECT_EQ(tree.shown(), QByteArrayList({"/m/a/y/z"}));
    EXPECT_FALSE(visibleFolderRows(tree.source())[0].allowsExpansion);
}

TEST(FolderTreeKeys, moveWithinTheEnds) {
    EXPECT_EQ(rowAfterMove(0, -1, 1), -1);
    EXPECT_EQ(rowAfterMove(4, -1, 1), 0);
    EXPECT_EQ(rowAfterMove(4, -1, -1), 3);
    EXPECT_EQ(rowAfterMove(4, 0, -1), 0);
    EXPECT_EQ(rowAfterMove(4, 3, 1), 3);
    EXPECT_EQ(rowAfterMove(4, 1, 1), 2);
}

TEST(FolderTreeKeys, leftAndRightLeadThroughTheTree) {
    using Kind = FolderTreeStep::Kind;
    Tree tree;
    const auto folder = [](const char* id) { return FolderItem(FileUrl(id), true); };
    struct Case {
        const char* selected;
        Kind left;
        const char* leftTo;
        Kind right;
        const char* rightTo;
    };
    for (const Case& c : {Case{"/m/a", Kind::collapse, "/m/a", Kind::open, "/m/a/x"},
                          Case{"/m/a/x", Kind::open, "/m/a", Kind::expand, "/m/a/x"},
                          Case{"/m/b", Kind::none, "", Kind::expand, "/m/b"},
                          Case{"/m/a/y/z", Kind::open, "/m/a/y", Kind::expand, "/m/a/y/z"}}) {
        const FolderRows rows = visibleFolderRows(tree.source());
        const auto left = stepLeft(tree.source(), rows, folder(c.selected));
        const auto right = stepRight(tree.source(), folder(c.selected));
        EXPECT_EQ(left.kind, c.left) << c.selected;
        EXPECT_EQ(left.folder.id(), c.leftTo);
        EXPECT_EQ(right.kind, c.right) << c.selected;
        EXPECT_EQ(right.folder.id(), c.rightTo);
    }
    tree.expanded.insert("/m/b");
    EXPECT_EQ(stepRight(tree.source(), folder("/m/b")).kind, Kind::none) << "no children";
    tree.hasQuery = true;
    EXPECT_EQ(stepLeft(tree.source(), {}, folder("/m/a")).kind, Kind::none);
    EXPECT_EQ(stepRight(tree.source(), folder("/m/a")).kind, Kind::none);
    tree.hasQuery = false;
    EXPECT_EQ(stepRight(tree.source(), std::nullopt).kind, Kind::none);
}

TEST(FolderTreeClicks, toggleWhatHasOrHadChildren) {
    EXPECT_TRUE(clickToggles(true, true, false));
    EXPECT_TRUE(clickToggles(false, true, true)) << "found empty while expanded: it collapses";
    EXPECT_FALSE(clickToggles(false, true, false));
    EXPECT_FALSE(clickToggles(false, false, true)) << "a search result";
}

TEST(FolderRowParts, lieInOrderAndMirror) {
    const QRect row(0, 40, 300, FolderRowParts::rowHeight);
    const FolderRowParts parts(row, 2, Qt::LeftToRight);
    EXPECT_LT(parts.chevron.right(), parts.icon.left());
    EXPECT_LT(parts.icon.right(), parts.name.left());
    EXPECT_LT(parts.name.right(), parts.refresh.left());
    EXPECT_EQ(parts.icon.size(), QSize(28, 24));
    const FolderRowParts mirrored(row, 2, Qt::RightToLeft);
    EXPECT_EQ(mirrored.icon.right(), row.right() - parts.icon.left());
}

// ---- Album header

Track track(const char* format, int bitrate, int year, const char* album = "Unknown Album") {
    TrackFields fields;
    fields.url = FileUrl("/m/" + QByteArray(format) + QByteArray::number(bitrate));
    fields.format = QString::fromUtf8(format);
    fields.bitrate = bitrate;
    fields.year = year;
    fields.album = QString::fromUtf8(album);
    fields.artist = QStringLiteral("Singer");
    fields.albumArtist = QStringLiteral("Band");
    fields.duration = 1800;
    return Track(fields);
}

TEST(AlbumSummary, describesFormatsAndYears) {
    struct Case {
        TrackList tracks;
        const char* format;
        const char* years;
    };
    const Case cases[] = {
        {{track("MP3", 320, 1999), track("MP3", 128, 1999)}, "MP3", "1999"},
        {{track("MP3", 320, 1999), track("MP3", 320, 0)}, "MP3 320 kbps", "1999"},
        {{track("MP3", 320, 1999), track("MP3", 0, 2001)}, "MP3 320 kbps", "Multi"},
        {{track("FLAC", 900, 0), track("MP3", 320, -5)}, "Multi", ""},
        {{track("FLAC", 900, 0), track("flac ", 800, 0)}, "FLAC", ""},
        {{track("", 0, 0)}, "", ""},
        {{}, "", ""},
    };
    for (const Case& c : cases) {
        const AlbumSummary summary = summarizeAlbum(c.tracks, std::nullopt);
        EXPECT_EQ(summary.formatDescription.toStdString(), c.format);
        EXPECT_EQ(summary.years.toStdString(), c.years);
    }
}

TEST(AlbumSummary, findsATitle) {
    const TrackList named{track("MP3", 1, 1), track("MP3", 2, 1, "  Night \n"),
                          track("MP3", 3, 1, "Day")};
    const TrackList nameless{track("MP3", 1, 1), track("MP3", 2, 1, "  ")};
    const std::optional<QString> folder = QStringLiteral("Folder");
    EXPECT_EQ(summarizeAlbum(named, folder).title, QStringLiteral("Night"));
    EXPECT_EQ(summarizeAlbum(nameless, folder).title, QStringLiteral("Folder"));
    EXPECT_EQ(summarizeAlbum(nameless, std::nullopt).title, QStringLiteral("Unknown Album"));
    EXPECT_EQ(summarizeAlbum({}, std::nullopt).title, QString());
    EXPECT_EQ(summarizeAlbum(named, folder).artist, QStringLiteral("Band"));
    EXPECT_EQ(summarizeAlbum(named, folder).duration, 5400);
}

TEST(TrackFormat, showsTheBitrateOfLossyFormatsAlone) {
    EXPECT_EQ(trackFormatDescription(track("MP3", 320, 1)), QStringLiteral("MP3 / 320 kbps"));
    EXPECT_EQ(trackFormatDescription(track("FLAC", 900, 1)), QStringLiteral("FLAC"));
    EXPECT_EQ(trackFormatDescription(track("OGG", 0, 1)), QStringLiteral("OGG"));
}

TEST(CoverDisplaySize, reducesAndNeverEnlarges) {
    const QSize screen(1000, 1000);
    EXPECT_EQ(coverDisplaySize(QSize(400, 300), QSize(1920, 1080)), QSizeF(400, 300));
    EXPECT_EQ(coverDisplaySize(QSize(1760, 880), screen), QSizeF(880, 440));
    EXPECT_EQ(coverDisplaySize(QSize(840, 1680), screen), QSizeF(420, 840));
    EXPECT_EQ(coverDisplaySize(QSize(2112, 1344), std::nullopt), QSizeF(1056, 672));
    EXPECT_EQ(coverDisplaySize(QSize(), QSize(1920, 1080)), QSizeF(600, 600));
    EXPECT_EQ(coverDisplaySize(QSize(0, 50), QSize(1920, 1080)), QSizeF(600, 600));
}

}  // namespace
}  // namespace halvenor::test
