// What clients see of the track, and the covers that they are lent.
#include <QDBusObjectPath>
#include <QUrl>

#include <limits>

#include "MprisFixture.h"
#include "support/EventLoop.h"

namespace halvenor::test {
namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAre;

class MprisRecordTest : public MprisTest {
  protected:
    /// Shows a track with this cover. @return the cover's file as clients are told of it
    FileUrl show(const char* title, const Artwork& artwork) {
        SignalLog log(*client_);
        settle();
        service().updateNowPlaying(makeTrack(text(title), artwork), 60, 200, false);
        EXPECT_TRUE(spinUntil([&] { return log.count("Metadata") > 0; }));
        settle();
        EXPECT_EQ(log.count("Metadata"), 1) << title;
        const auto told = qdbus_cast<QVariantMap>(log.all().at(0).changed.value(text("Metadata")));
        EXPECT_EQ(told, metadata());
        EXPECT_EQ(told.value(text("xesam:title")), text(title));
        const QString url = told.value(text("mpris:artUrl")).toString();
        return FileUrl::fromEncoded(url.toLatin1()).value_or(FileUrl());
    }
    bool disappears(const FileUrl& file) {
        return spinUntil([&] { return contentsOf(file).isEmpty(); });
    }

    Artwork red_{imageOf(Qt::red)};
    Artwork blue_{imageOf(Qt::blue)};
};

TEST_F(MprisRecordTest, everythingThatIsKnownOfATrackIsThereWithItsType) {
    TrackFields fields;
    fields.url = FileUrl("/music/\xE9 # %/ü.flac");
    fields.title = text("Title");
    fields.artist = text("Artist");
    fields.album = text("Album");
    fields.albumArtist = text("Various");
    fields.genre = text("Jazz");
    fields.year = 1959;
    fields.trackNumber = 3;
    service().updateNowPlaying(Track(fields), 0, 545.25, true);
    ASSERT_TRUE(start());
    const QVariantMap all = metadata();
    std::vector<std::string> shown;
    for (auto one = all.begin(); one != all.end(); ++one) {
        const QString type = signatureOf(*one);
        const QString value =
            type == text("as") ? one->toStringList().join(text("|")) : one->toString();
        shown.push_back((one.key() + text(" ") + type + text(" ") + value).toStdString());
    }
    EXPECT_THAT(shown, UnorderedElementsAre(
                           testing::StartsWith("mpris:trackid o "), "mpris:length x 545250000",
                           "xesam:title s Title", "xesam:artist as Artist", "xesam:album s Album",
                           "xesam:albumArtist as Various", "xesam:genre as Jazz",
                           "xesam:contentCreated s 1959", "xesam:trackNumber i 3",
                           "xesam:url s file:///music/%E9%20%23%20%25/%C3%BC.flac"));
}

TEST_F(MprisRecordTest, whatIsUnknownIsLeftOut) {
    ASSERT_TRUE(start());
    EXPECT_THAT(metadata(), IsEmpty());
    TrackFields fields;
    fields.url = FileUrl("/music/a.mp3");
    fields.genre = QString();
    fields.year = 0;
    fields.trackNumber = int64_t{1} << 40;
    for (const double duration : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
        service().updateNowPlaying(Track(fields), 0, duration, true);
        const QVariantMap all = metadata();
        for (const char* key :
             {"mpris:length", "xesam:genre", "xesam:contentCreated", "xesam:trackNumber"}) {
            EXPECT_FALSE(all.contains(text(key))) << key << ' ' << duration;
        }
        EXPECT_EQ(all.value(text("xesam:title")), text("a"));
    }
    for (const double endless : {std::numeric_limits<double>::infinity(), 1e300}) {
        service().updateNowPlaying(Track(fields), 0, endless, true);
        EXPECT_EQ(metadata("mpris:length").toLongLong(), 9'000'000'000'000'000);
    }
}

// The bus cuts off clients that send it what is not UTF-8.
TEST_F(MprisRecordTest, noTextBreaksTheConnection) {
    ASSERT_TRUE(start());
    const QString owner = client_->ownerOf(name_);
    for (const QString& hostile :
         {QString(QChar(0xD800)), QString(QChar(0xDC00)) + QChar(0xD800), QString(QChar(0xFFFE)),
          QString(QChar(0xFDD0)), QString::fromUcs4(U"\U0001FFFF\U0010FFFF"),
          QStringLiteral("a") + QChar(0) + QStringLiteral("b"), QString(4'000'000, QChar(0x20AC)),
          QStringLiteral("\u202Eabc\u0007")}) {
        TrackFields fields;
        fields.url = FileUrl("/music/\xFF\xC0\x80.mp3");
        fields.title = fields.artist = fields.album = fields.genre = hostile;
        service().updateNowPlaying(Track(fields), 0, 1, true);
        settle();
        EXPECT_EQ(metadata("xesam:url"), text("file:///music/%FF%C0%80.mp3"));
        ASSERT_EQ(client_->ownerOf(name_), owner) << qPrintable(hostile.left(9));
    }
}

TEST_F(MprisRecordTest, coversAreLentAsFilesAndTakenBack) {
    ASSERT_TRUE(start());
    const FileUrl first = show("One", red_);
    EXPECT_EQ(contentsOf(first), red_.bytes());
    EXPECT_TRUE(first.path().endsWith(".png"));
    EXPECT_TRUE(first.path().startsWith(folder_.path("cache/")));
    // An album's tracks share one file.
    EXPECT_EQ(show("Two", Artwork(red_.bytes())), first);
    const FileUrl second = show("Three", blue_);
    EXPECT_NE(second, first);
    EXPECT_EQ(contentsOf(second), blue_.bytes());
    const FileUrl third = show("Four", red_);
    EXPECT_TRUE(disappears(first));
    EXPECT_EQ(show("No cover", Artwork()), FileUrl());
    EXPECT_TRUE(disappears(second));
    EXPECT_TRUE(disappears(third));
    EXPECT_EQ(contentsOf(show("Five", red_)), red_.bytes());
    stop();
    EXPECT_EQ(run({"find", folder_.path("cache").toStdString(), "-type", "f"}), "");
}

TEST_F(MprisRecordTest, whatMakesNoImageIsLeftOut) {
    ASSERT_TRUE(start());
    const QByteArray png = imageOf(Qt::red, 64);
    // Its header claims 65535 x 65535 points.
    QByteArray bomb = imageOf(Qt::red, 64, "BMP");
    bomb.replace(18, 8, QByteArray("\xFF\xFF\0\0\xFF\xFF\0\0", 8));
    for (const QByteArray& nonsense :
         {QByteArray(), QByteArray("no image"), png.left(60), bomb,
          QByteArray("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"9\" height=\"9\"/>"),
          QByteArray("\xFF\xD8\xFF\xE0 and so on")}) {
        EXPECT_EQ(show("Nonsense", Artwork(nonsense)), FileUrl())
            << nonsense.left(20).toStdString();
    }
    EXPECT_EQ(contentsOf(show("Image", Artwork(png))), png);
}

TEST_F(MprisRecordTest, ofTracksThatPassQuicklyTheLastOneStays) {
    ASSERT_TRUE(start());
    SignalLog log(*client_);
    settle();
    for (int i = 0; i < 50; ++i) {
        service().updateNowPlaying(makeTrack(QString::number(i), Artwork(imageOf(Qt::red, 1 + i))),
                                   0, 200, true);
    }
    service().updateNowPlaying(makeTrack(text("last"), blue_), 0, 200, true);
    ASSERT_TRUE(spinUntil([&] { return log.count("Metadata") > 0; }));
    settle();
    EXPECT_EQ(log.count("Metadata"), 1);
    const QString url = metadata("mpris:artUrl").toString();
    EXPECT_EQ(contentsOf(*FileUrl::fromEncoded(url.toLatin1())), blue_.bytes());
    // Covers that were begun for the others do not pile up.
    EXPECT_LE(run({"find", folder_.path("cache").toStdString(), "-name", "*cover*"}).count('\n'),
              2);
}

TEST_F(MprisRecordTest, aCacheThatCanNotBeWrittenCostsTheCoverAlone) {
    folder_.makeFile("cache", "in the way");
    ASSERT_TRUE(start());
    EXPECT_EQ(show("One", red_), FileUrl());
}

TEST_F(MprisRecordTest, aCacheThatIsEmptiedIsMadeAgain) {
    ASSERT_TRUE(start());
    show("One", red_);
    run({"rm", "-r", folder_.path("cache").toStdString()});
    EXPECT_EQ(contentsOf(show("Two", blue_)), blue_.bytes());
}

}  // namespace
}  // namespace halvenor::test
