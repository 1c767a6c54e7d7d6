#include <functional>
#include <gmock/gmock.h>
#include <limits>
#include <vector>

#include "model/Track.h"

namespace halvenor {
namespace {

TrackFields fieldsOf(const char* path) {
    TrackFields fields;
    fields.url = FileUrl(path);
    fields.format = QStringLiteral("flac");
    return fields;
}

TrackFields fullFields() {
    TrackFields fields = fieldsOf("/m/a.b.mp3");
    fields.title = QStringLiteral("Title");
    fields.artist = QStringLiteral("Artist");
    fields.album = QStringLiteral("Album");
    fields.albumArtist = QStringLiteral("Various");
    fields.year = 1999;
    fields.genre = QStringLiteral("Jazz");
    fields.trackNumber = 3;
    fields.duration = 12.5;
    fields.bitrate = 320;
    fields.sampleRate = 44100;
    fields.fileSize = 1000;
    fields.artworkData = Artwork(QByteArray("cover"));
    return fields;
}

TEST(Track, AbsentTextsTakeDefaultsAndEmptyOnesStay) {
    const Track bare(fieldsOf("/m/a.b.mp3"));
    EXPECT_EQ(bare.id(), "/m/a.b.mp3");
    EXPECT_EQ(bare.title(), QStringLiteral("a.b"));
    EXPECT_EQ(bare.artist(), QStringLiteral("Unknown Artist"));
    EXPECT_EQ(bare.album(), QStringLiteral("Unknown Album"));
    EXPECT_EQ(bare.albumArtist(), QStringLiteral("Unknown Artist"));
    EXPECT_EQ(bare.format(), QStringLiteral("FLAC"));
    EXPECT_EQ(Track(fieldsOf("/m/plain")).title(), QStringLiteral("plain"));
    EXPECT_EQ(Track(fieldsOf("/m/\xff.mp3")).title(), QStringLiteral("\uFFFD"));

    TrackFields empty = fieldsOf("/m/x.mp3");
    empty.title = empty.artist = empty.album = QString();
    const Track kept(empty);
    EXPECT_TRUE(kept.title().isEmpty() && kept.artist().isEmpty() && kept.album().isEmpty());
    EXPECT_TRUE(kept.albumArtist().isEmpty()) << "follows the artist as it was settled";
}

TEST(Track, ShowsItsDuration) {
    struct Case {
        double seconds;
        const char* text;
    };
    const std::vector<Case> cases = {{0, "0:00"},
                                     {0.5, "0:00"},
                                     {59.99, "0:59"},
                                     {60, "1:00"},
                                     {3725, "62:05"},
                                     {-3, "0:00"},
                                     {std::numeric_limits<double>::infinity(), "0:00"},
                                     {std::numeric_limits<double>::quiet_NaN(), "0:00"}};
    for (const Case& c : cases) {
        Track track(fieldsOf("/a"));
        track.setDuration(c.seconds);
        EXPECT_EQ(track.formattedDuration().toStdString(), c.text) << c.seconds;
    }
    Track absurd(fieldsOf("/a"));
    absurd.setDuration(std::numeric_limits<double>::max());
    EXPECT_FALSE(absurd.formattedDuration().startsWith(QLatin1Char('-')));
}

TEST(Track, ShowsItsSizeInKilobytesOrMegabytes) {
    struct Case {
        int64_t bytes;
        const char* text;
    };
    const std::vector<Case> cases = {
        {0, "0 KB"},
        {640'400, "640 KB"},
        {999'400, "999 KB"},
        {999'600, "1 MB"},
        {3'449'000, "3.4 MB"},
        {3'000'000, "3 MB"},
        {12'345'678'900, "12345.7 MB"},
        {1'500'000'000, "1500 MB"},
    };
    for (const Case& c : cases) {
        TrackFields fields = fieldsOf("/a");
        fields.fileSize = c.bytes;
        EXPECT_EQ(Track(fields).formattedFileSize().toStdString(), c.text);
    }
}

TEST(Track, RelocationKeepsAllButThePlace) {
    const Track track(fullFields());
    const Track moved = track.relocated("/n/other.ogg");
    EXPECT_EQ(moved.id(), "/n/other.ogg");
    EXPECT_EQ(track.id(), "/m/a.b.mp3");
    EXPECT_NE(moved, track);
    EXPECT_EQ(moved.relocated("/m/a.b.mp3"), track);
    EXPECT_EQ(moved.title(), QStringLiteral("Title"));
    EXPECT_EQ(moved.format(), QStringLiteral("FLAC"));
}

TEST(Track, EveryFieldCountsForEquality) {
    const Track track(fullFields());
    EXPECT_EQ(track, Track(fullFields()));
    EXPECT_EQ(qHash(track), qHash(Track(fullFields())));
    const std::vector<std::function<void(TrackFields&)>> changes = {
        [](TrackFields& f) { f.url = FileUrl("/m/other.mp3"); },
        [](TrackFields& f) { f.title = QStringLiteral("x"); },
        [](TrackFields& f) { f.artist = QStringLiteral("x"); },
        [](TrackFields& f) { f.album = QStringLiteral("x"); },
        [](TrackFields& f) { f.albumArtist = QStringLiteral("x"); },
        [](TrackFields& f) { f.year = std::nullopt; },
        [](TrackFields& f) { f.genre = std::nullopt; },
        [](TrackFields& f) { f.trackNumber = 4; },
        [](TrackFields& f) { f.duration = 12.25; },
        [](TrackFields& f) { f.bitrate = 0; },
        [](TrackFields& f) { f.sampleRate = std::nullopt; },
        [](TrackFields& f) { f.format = QStringLiteral("x"); },
        [](TrackFields& f) { f.fileSize = 1001; },
        [](TrackFields& f) { f.artworkData = Artwork(); },
    };
    for (size_t i = 0; i < changes.size(); ++i) {
        TrackFields fields = fullFields();
        changes[i](fields);
        EXPECT_NE(Track(fields), track) << "change " << i;
        EXPECT_NE(qHash(Track(fields)), qHash(track)) << "change " << i;
    }
    TrackFields positive = fullFields();
    positive.duration = 0.0;
    TrackFields negative = fullFields();
    negative.duration = -0.0;
    EXPECT_EQ(Track(positive), Track(negative));
    EXPECT_EQ(qHash(Track(positive)), qHash(Track(negative)));
}

TEST(Track, CopiesAreIndependentValues) {
    const Track original(fullFields());
    Track copy = original;
    EXPECT_TRUE(copy.sharesRecordWith(original));
    copy.setTitle(QStringLiteral("New"));
    EXPECT_EQ(original.title(), QStringLiteral("Title"));
    Track empty;
    EXPECT_TRUE(empty.id().isEmpty());
    empty.setTitle(QStringLiteral("x"));
    EXPECT_TRUE(Track().title().isEmpty());
}

}  // namespace
}  // namespace halvenor
