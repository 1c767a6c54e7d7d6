// Which item fills which field, over items made by hand.
#include <gmock/gmock.h>
#include <limits>

#include "tags/TagReading.h"

namespace halvenor {
namespace {

using testing::Eq;
using Optional = std::optional<int64_t>;

MetadataItem item(std::optional<CommonKey> commonKey, std::optional<QString> text) {
    MetadataItem result;
    result.commonKey = commonKey;
    result.stringValue = std::move(text);
    return result;
}

MetadataItem unreadable(CommonKey commonKey) {
    MetadataItem result = item(commonKey, std::nullopt);
    result.isUnreadable = true;
    return result;
}

MetadataItem keyed(MetadataFormat format, MetadataKey key, std::optional<QString> text,
                   std::optional<QByteArrayView> data = std::nullopt) {
    MetadataItem result = item(std::nullopt, std::move(text));
    result.format = format;
    result.key = std::move(key);
    result.dataValue = data;
    return result;
}

Track read(std::vector<MetadataItem> items) {
    MediaAsset asset;
    asset.metadata = std::move(items);
    return readTrack(asset, FileUrl("/m/song.one.MP3"));
}

TEST(TagRules, parsesTrackNumbersOutOfText) {
    const std::pair<QString, Optional> cases[] = {
        {QStringLiteral("3/12"), 3},
        {QStringLiteral("/12"), 12},
        {QStringLiteral("//4/5/6"), 4},
        {QStringLiteral(" 7 "), 7},
        {QStringLiteral("\t\u00a08\u2003/9"), 8},
        {QStringLiteral("8\n"), {}},
        {QStringLiteral("+5"), 5},
        {QStringLiteral("-5"), -5},
        {QStringLiteral("+-5"), {}},
        {QStringLiteral("+"), {}},
        {QStringLiteral("A1"), {}},
        {QStringLiteral("1A"), {}},
        {QStringLiteral("0"), 0},
        {QStringLiteral("007"), 7},
        {QStringLiteral("٣"), {}},
        {QString(), {}},
        {QStringLiteral("/"), {}},
        {QStringLiteral(" /3"), {}},
        {QStringLiteral("9223372036854775807"), std::numeric_limits<int64_t>::max()},
        {QStringLiteral("9223372036854775808"), {}},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(parseTrackNumber(QStringView(text)), expected) << text.toStdString();
    }
}

TEST(TagRules, parsesTrackNumbersOutOfAtoms) {
    EXPECT_EQ(parseTrackNumber(QByteArray::fromHex("00000005000c0000")), Optional(5));
    EXPECT_EQ(parseTrackNumber(QByteArray::fromHex("ffffff01")), Optional(0xff01));
    EXPECT_EQ(parseTrackNumber(QByteArray::fromHex("00000000000c0000")), Optional());
    EXPECT_EQ(parseTrackNumber(QByteArray::fromHex("000005")), Optional());
}

TEST(TagRules, makesFourCharacterCodes) {
    EXPECT_EQ(fourCharCode(u"trkn"), 0x74726b6eu);
    EXPECT_EQ(fourCharCode(u"©nam"), 0xa96e616du);
    EXPECT_EQ(fourCharCode(u"xtrkn"), 0x74726b6eu);
    EXPECT_EQ(fourCharCode(u"\U0001D11E"), 0x1eu);
    EXPECT_EQ(fourCharCode(u""), 0u);
}

TEST(TagRules, lastItemOfACommonKeyDecides) {
    const Track track = read(
        {item(CommonKey::title, QStringLiteral("one")),
         item(CommonKey::artist, QStringLiteral("first")),
         item(CommonKey::artist, QStringLiteral("second")),
         item(CommonKey::type, QStringLiteral("Rock")),
         item(CommonKey::subject, QStringLiteral("Opera")),
         item(CommonKey::albumName, QStringLiteral("kept")), unreadable(CommonKey::albumName),
         item(std::nullopt, QStringLiteral("nobody's")), item(CommonKey::title, std::nullopt)});
    EXPECT_EQ(track.title(), QStringLiteral("song.one"));
    EXPECT_EQ(track.artist(), QStringLiteral("second"));
    EXPECT_EQ(track.album(), QStringLiteral("kept"));
    EXPECT_THAT(track.genre(), Eq(QStringLiteral("Opera")));
    EXPECT_EQ(track.format(), QStringLiteral("MP3"));
}

TEST(TagRules, lastDateThatIsANumberGivesTheYear) {
    const std::pair<QStringList, Optional> cases[] = {
        {{QStringLiteral("1999-05-01")}, 1999},
        {{QStringLiteral("99")}, 99},
        {{QStringLiteral("-199")}, -199},
        {{QStringLiteral("-1999")}, -199},
        {{QStringLiteral("Unknown")}, {}},
        {{QStringLiteral(" 1999")}, {}},
        {{QStringLiteral("1999"), QStringLiteral("bad")}, 1999},
        {{QStringLiteral("1999"), QString(), QStringLiteral("2001")}, 2001},
    };
    for (const auto& [dates, expected] : cases) {
        std::vector<MetadataItem> items;
        for (const QString& date : dates) {
            items.push_back(
                item(CommonKey::creationDate, date.isEmpty() ? std::nullopt : std::optional(date)));
        }
        EXPECT_EQ(read(items).year(), expected) << dates.join(u' ').toStdString();
    }
}

TEST(TagRules, equalCoversAreInMemoryOnce) {
    MetadataItem cover = item(CommonKey::artwork, std::nullopt);
    cover.dataValue = QByteArrayView("cover");
    const Track track = read({cover});
    EXPECT_EQ(track.artworkData().identity(), read({cover}).artworkData().identity());
}

TEST(TagRules, firstNativeItemOfTheStrongestFormatWins) {
    using F = MetadataFormat;
    const uint32_t trkn = fourCharCode(u"trkn");
    const QByteArray five = QByteArray::fromHex("00000005000c0000");
    const auto text = [](const char* value) { return QString::fromLatin1(value); };
    const auto asset = [](std::vector<F> formats, std::vector<MetadataItem> items) {
        MediaAsset result;
        result.availableMetadataFormats = std::move(formats);
        result.metadata = std::move(items);
        return result;
    };
    const char* const unknown = "Unknown Artist";
    const Optional none;
    struct Case {
        const char* name;
        MediaAsset asset;
        const char* albumArtist;
        Optional trackNumber;
    };
    const Case cases[] = {
        {"v2.4 and v2.2 names, first wins",
         asset({F::id3v2}, {keyed(F::id3v2, "TP2", text("A")), keyed(F::id3v2, "TPE2", text("B")),
                            keyed(F::id3v2, "TRK", text("2")), keyed(F::id3v2, "TRCK", text("3"))}),
         "A", 2},
        {"one that can't be parsed leaves the place to the next",
         asset({F::id3v2}, {keyed(F::id3v2, "TRCK", text("x")), keyed(F::id3v2, "TRCK", text("4")),
                            keyed(F::id3v2, "TPE2", {}), keyed(F::id3v2, "TPE2", text("B"))}),
         "B", 4},
        {"order of formats, not of items",
         asset({F::id3v2, F::id3v1},
               {keyed(F::id3v1, "TRCK", text("1")), keyed(F::id3v2, "TRCK", text("2"))}),
         unknown, 2},
        {"atoms",
         asset({F::mp4},
               {keyed(F::mp4, fourCharCode(u"aART"), text("M")), keyed(F::mp4, trkn, {}, five)}),
         "M", 5},
        {"an atom's text shuts out its bytes",
         asset({F::mp4}, {keyed(F::mp4, trkn, text("x"), five)}), unknown, none},
        {"a number is no frame identifier and a frame identifier no number",
         asset({F::mp4},
               {keyed(F::mp4, fourCharCode(u"TRCK"), text("8")), keyed(F::mp4, "trkn", text("9"))}),
         unknown, none},
    };
    for (const Case& each : cases) {
        const Track track = readTrack(each.asset, FileUrl("/m/song.mp3"));
        EXPECT_EQ(track.albumArtist(), text(each.albumArtist)) << each.name;
        EXPECT_EQ(track.trackNumber(), each.trackNumber) << each.name;
    }
}

TEST(TagRules, statedRatesAreCutAndEstimatesRounded) {
    struct Case {
        const char* name;
        std::vector<AudioTrack> tracks;
        int64_t fileSize;
        double duration;
        AudioFormatDetails expected;
    };
    const Case cases[] = {
        {"no audio track", {}, 4'800'000, 240, {}},
        {"estimate", {{{{44100}}, 0}}, 4'800'000, 240, {160, 44100}},
        {"estimate, half rounds up", {{{}, 0}}, 100'500, 8, {101, {}}},
        {"rounds before it cuts", {{{}, 127'999.6}}, 1, 1, {128, {}}},
        {"cuts", {{{}, 127'499}}, 1, 1, {127, {}}},
        {"nothing to go by", {{{{48000}}, 0}}, 1000, 0, {{}, 48000}},
        {"the last rate above zero", {{{{22050}, {47999.5}, {0}}, 0}}, 0, 0, {{}, 48000}},
        {"only the first track", {{{}, 64'000}, {{{8000}}, 8000}}, 1, 1, {64, {}}},
        {"no integer holds it", {{{{1e300}}, 0}}, 1000, 1e-300, {}},
    };
    for (const Case& each : cases) {
        MediaAsset asset;
        asset.audioTracks = each.tracks;
        EXPECT_EQ(readAudioFormatDetails(asset, each.fileSize, each.duration), each.expected)
            << each.name;
    }
}

}  // namespace
}  // namespace halvenor
