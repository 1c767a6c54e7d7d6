// The shape of what an asset tells: kinds of tags, keys, order.
#include <gmock/gmock.h>

#include "platform/media/MediaAsset.h"
#include "support/TagBytes.h"
#include "support/TemporaryFolder.h"

namespace halvenor {
namespace {

using namespace test;
using testing::ElementsAre;

MediaAsset open(const QByteArray& contents) {
    const TemporaryFolder folder;
    return MediaAsset::open(folder.makeFile("file", contents));
}

/// An item in one line, "format commonKey key text|bytes".
std::string shown(const MetadataItem& item) {
    std::string line = std::to_string(static_cast<int>(item.format));
    line += item.commonKey ? " c" + std::to_string(static_cast<int>(*item.commonKey)) : " -";
    if (const auto* frame = std::get_if<QByteArray>(&item.key)) {
        line += " " + frame->toStdString();
    } else if (const auto* code = std::get_if<uint32_t>(&item.key)) {
        line += " " + be32(*code).toStdString();
    }
    if (item.stringValue) {
        line += " '" + item.stringValue->toStdString() + "'";
    }
    if (item.dataValue) {
        line += " <" + item.dataValue->toByteArray().toStdString() + ">";
    }
    return line + (item.isUnreadable ? " unreadable" : "");
}

std::vector<std::string> shown(const MediaAsset& asset) {
    std::vector<std::string> lines;
    for (const MetadataItem& item : asset.metadata) {
        lines.push_back(shown(item));
    }
    return lines;
}

TEST(MediaAsset, itemsKeepTheOrderOfTheFileAndWeakTagsComeFirst) {
    const QByteArray tag = id3Tag(
        3, id3Frame(3, "APIC", id3Picture("image/png", 3, "img")) +
               id3Text(3, "TIT2", QStringLiteral("b")) + id3Text(3, "TXXX", QStringLiteral("x")) +
               id3Text(3, "TPE2", QString()) + id3Text(3, "TIT2", QStringLiteral("a")));
    const MediaAsset asset = open(tag + mp3Frames(20) + apeTag({apeItem("Title", "ape", 0)}) +
                                  id3v1Tag("old", "", "", "", 0, '\xff'));
    EXPECT_THAT(shown(asset), ElementsAre("2 c0 TIT2 'old'", "1 c0 TIT2 'ape'", "0 c6 APIC <img>",
                                          "0 c0 TIT2 'b'", "0 - TPE2", "0 c0 TIT2 'a'"));
    EXPECT_THAT(asset.availableMetadataFormats,
                ElementsAre(MetadataFormat::id3v2, MetadataFormat::ape, MetadataFormat::id3v1));
    ASSERT_EQ(asset.audioTracks.size(), 1u);
    EXPECT_EQ(asset.audioTracks[0].formatDescriptions[0].sampleRate, 44100);
    EXPECT_NEAR(asset.audioTracks[0].estimatedDataRate, 128000, 500);
}

TEST(MediaAsset, mp4ItemsHaveNumbersForKeys) {
    const QByteArray number = QByteArray::fromHex("0000000700090000");
    const MediaAsset asset = open(mp4File(
        atom("trkn", mp4Value(0, number)) + atom("aART", mp4Value(1, "who")) +
        atom("\251nam", mp4Value(2, QByteArray("\0N", 2))) + atom("----", mp4Value(1, "other"))));
    ASSERT_EQ(asset.metadata.size(), 3u);
    EXPECT_EQ(asset.metadata[0].dataValue, QByteArrayView(number));
    EXPECT_FALSE(asset.metadata[0].stringValue);
    EXPECT_EQ(shown(asset.metadata[1]), "4 - aART 'who'");
    EXPECT_EQ(shown(asset.metadata[2]), "4 c0 \251nam 'N'");
    EXPECT_TRUE(asset.audioTracks.empty());
}

TEST(MediaAsset, waveAndAiffKeepTagsInChunks) {
    const auto chunk = [](const QByteArray& code, const QByteArray& payload,
                          QByteArray (*encode)(uint32_t)) {
        const QByteArray filling(payload.size() & 1, '\0');
        return code + encode(static_cast<uint32_t>(payload.size())) + payload + filling;
    };
    const QByteArray tag = id3Tag(3, id3Text(3, "TIT2", QStringLiteral("id3")));
    const QByteArray info =
        chunk("LIST",
              "INFO" + chunk("INAM", "odd", le32) + chunk("ITRK", QByteArray("12\0", 3), le32) +
                  chunk("IART", "Caf\xe9", le32),
              le32);
    const QByteArray wave = "WAVE" + chunk("data", "x", le32) + info + chunk("id3 ", tag, le32);
    EXPECT_THAT(
        shown(open("RIFF" + le32(static_cast<uint32_t>(wave.size())) + wave)),
        ElementsAre("5 c0 TIT2 'odd'", "5 - TRCK '12'", "5 c1 TPE1 'Café'", "0 c0 TIT2 'id3'"));
    const QByteArray aiff = "AIFF" + chunk("NAME", "odd", be32) + chunk("ID3 ", tag, be32);
    EXPECT_THAT(shown(open("FORM" + be32(static_cast<uint32_t>(aiff.size())) + aiff)),
                ElementsAre("6 c0 TIT2 'odd'", "0 c0 TIT2 'id3'"));
}

}  // namespace
}  // namespace halvenor
