// Files that are cut off, garbled, or made to hurt: whatever they hold, opening ends soon, takes
// no memory to speak of, and tells something finite.
#include <QElapsedTimer>

#include <cmath>
#include <gmock/gmock.h>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/media/MediaAsset.h"
#include "support/TagBytes.h"
#include "support/TemporaryFolder.h"

namespace halvenor {
namespace {

using namespace test;

constexpr const char* extensions[] = {"mp3", "m4a", "flac", "wav", "aiff",
                                      "aif", "aac", "ogg",  "alac"};

void expectSane(const MediaAsset& asset, int64_t fileSize) {
    EXPECT_EQ(asset.fileSize, fileSize);
    EXPECT_TRUE(std::isfinite(asset.duration) && asset.duration >= 0);
    for (const MetadataItem& item : asset.metadata) {
        EXPECT_FALSE(item.stringValue && item.stringValue->isEmpty());
        EXPECT_FALSE(item.dataValue && item.dataValue->isEmpty());
        EXPECT_LE(item.dataValue ? item.dataValue->size() : 0, fileSize);
    }
}

QByteArray oggPage(const QByteArray& packet, uint32_t number) {
    QByteArray segments(packet.size() / 255, '\xff');
    segments.append(static_cast<char>(packet.size() % 255));
    return QByteArray("OggS\0", 5) + static_cast<char>(number == 0 ? 2 : 0) + QByteArray(8, '\0') +
           le32(1) + le32(number) + le32(0) + static_cast<char>(segments.size()) + segments +
           packet;
}

/// One well-formed file of each kind, every field in it.
QByteArrayList seeds() {
    const QByteArray comments =
        vorbisComments({"TITLE=t", "ARTIST=a",
                        "METADATA_BLOCK_PICTURE=" + flacPicture("image/png", 3, "img").toBase64()});
    const QByteArray tag = id3Tag(4, id3Text(4, "TIT2", QStringLiteral("t")) +
                                         id3Text(4, "TCON", QStringLiteral("7")) +
                                         id3Frame(4, "APIC", id3Picture("image/png", 3, "img")));
    const QByteArray ape =
        apeTag({apeItem("Title", "t", 0), apeItem("Cover Art (Front)", QByteArray("x\0y", 3), 2)});
    const QByteArray wave =
        "WAVEfmt " + le32(16) + QByteArray::fromHex("0100020044ac000010b1020004001000") + "LIST" +
        le32(14) + "INFOINAM" + le32(2) + "t" + QByteArray(1, '\0') + "id3 " +
        le32(static_cast<uint32_t>(tag.size())) + tag + "data" + le32(400) + QByteArray(400, '\1');
    const QByteArray aiff = "AIFFCOMM" + be32(18) +
                            QByteArray::fromHex("0002000000640010400eac44000000000000") + "ID3 " +
                            be32(static_cast<uint32_t>(tag.size())) + tag + "SSND" + be32(408) +
                            QByteArray(408, '\1');
    const QByteArray vorbis = oggPage("\x01vorbis" + le32(0) + "\x02" + le32(44100) + le32(0) +
                                          le32(0) + le32(0) + "\xb8\x01",
                                      0) +
                              oggPage("\x03vorbis" + comments + "\x01", 1);
    return {tag + mp3Frames(8) + ape + id3v1Tag("t", "a", "b", "1999", 1, 1),
            flacFile({flacBlock(4, comments), flacBlock(6, flacPicture("image/png", 3, "img"))}),
            mp4File(atom("\251nam", mp4Value(1, "t")) + atom("covr", mp4Value(13, "img")) +
                    atom("trkn", mp4Value(0, QByteArray(8, '\1')))),
            "RIFF" + le32(static_cast<uint32_t>(wave.size())) + wave,
            "FORM" + be32(static_cast<uint32_t>(aiff.size())) + aiff,
            vorbis};
}

TEST(HostileFiles, emptyAndForeignContentUnderEveryName) {
    const TemporaryFolder folder;
    const QByteArray contents[] = {{},
                                   "x",
                                   "ID3",
                                   QByteArray(5000, '\0'),
                                   QByteArray(5000, '\xff'),
                                   "This is a text file, and no music.\n"};
    for (const char* extension : extensions) {
        for (const QByteArray& content : contents) {
            SCOPED_TRACE(extension);
            const MediaAsset asset =
                MediaAsset::open(folder.makeFile(QByteArray("file.") + extension, content));
            expectSane(asset, content.size());
            EXPECT_TRUE(asset.metadata.empty());
        }
    }
}

TEST(HostileFiles, cutOffAndGarbled) {
    const TemporaryFolder folder;
    std::mt19937 random(7);
    for (const QByteArray& seed : seeds()) {
        const auto whole = MediaAsset::open(folder.makeFile("file", seed));
        EXPECT_GE(whole.metadata.size(), 2u) << "a seed must be worth garbling";
        const qsizetype step = std::max<qsizetype>(1, seed.size() / 80);
        for (qsizetype size = 0; size < seed.size(); size += step) {
            expectSane(MediaAsset::open(folder.makeFile("file", seed.left(size))), size);
        }
        for (int round = 0; round < 150; ++round) {
            QByteArray garbled = seed;
            for (uint32_t changes = 1 + random() % 8; changes > 0; --changes) {
                // Headers are near the beginning; sizes of all ones do most harm.
                const auto range = static_cast<uint32_t>(std::min<qsizetype>(seed.size(), 400));
                garbled[static_cast<qsizetype>(random() % range)] =
                    static_cast<char>(random() % 3 == 0 ? 0xff : random());
            }
            expectSane(MediaAsset::open(folder.makeFile("file", garbled)), garbled.size());
        }
    }
}

TEST(HostileFiles, costlyContentEndsSoon) {
    QByteArray nested;
    for (int depth = 0; depth < 200'000; ++depth) {
        nested += be32(static_cast<uint32_t>((200'000 - depth) * 8)) + "moov";
    }
    const QByteArray manyAtoms = QByteArray(be32(8) + "free").repeated(500'000);
    const QByteArray manyChunks = QByteArray("junk" + le32(0)).repeated(500'000);
    const QByteArray manyFrames = QByteArray(id3Frame(3, "TIT2", "")).repeated(200'000);
    const std::pair<const char*, QByteArray> cases[] = {
        {"nested atoms", nested},
        {"many atoms", atom("ftyp", {}) + manyAtoms},
        {"many chunks", "RIFF" + le32(0) + "WAVE" + manyChunks},
        {"frames without content", id3Tag(3, manyFrames)},
        {"a comment count beyond the block",
         flacFile({flacBlock(4, le32(0) + le32(0xffffffff) + le32(0))})},
        {"an endless Ogg packet",
         oggPage("\x01vorbis", 0) + oggPage(QByteArray(254 * 255, '\3'), 1).repeated(100)},
    };
    const TemporaryFolder folder;
    for (const auto& [name, contents] : cases) {
        SCOPED_TRACE(name);
        const FileUrl url = folder.makeFile("file", contents);
        QElapsedTimer timer;
        timer.start();
        expectSane(MediaAsset::open(url), contents.size());
        EXPECT_LT(timer.elapsed(), 5000);
    }
}

TEST(HostileFiles, compressedFramesDoNotExplode) {
    // A frame of v2.3 that says it is compressed: flag, size when unpacked, deflated bytes.
    const auto compressed = [](const QByteArray& identifier, const QByteArray& payload) {
        QByteArray frame = id3Frame(3, identifier, qCompress(payload, 9));
        frame[9] = '\x80';
        return frame;
    };
    const QByteArray small = compressed("TIT2", QByteArray("\0title", 6));
    const QByteArray bomb = compressed("TPE1", QByteArray(20 << 20, 'x'));
    const TemporaryFolder folder;
    const MediaAsset asset =
        MediaAsset::open(folder.makeFile("file.mp3", id3Tag(3, small + bomb.repeated(8) + small)));
    ASSERT_EQ(asset.metadata.size(), 10u);
    EXPECT_EQ(asset.metadata.front().stringValue, QStringLiteral("title"));
    EXPECT_EQ(asset.metadata.back().stringValue, QStringLiteral("title"));
    EXPECT_TRUE(asset.metadata[8].isUnreadable);
}

TEST(HostileFiles, hugeFilesOfNothing) {
    // Sparse: 8 GB that take no room. The ID3v2 header claims the most that it can.
    const TemporaryFolder folder;
    for (const QByteArray& start :
         {QByteArray("ID3\3\0\0\x7f\x7f\x7f\x7f", 10), QByteArray("fLaC\x84\xff\xff\xff"),
          QByteArray(be32(0) + "moov" + be32(0xfffffff0) + "udta"),
          QByteArray("RIFF\xff\xff\xff\xffWAVELIST\xf0\xff\xff\xffINFOINAM\xff\xff\xff\xff")}) {
        const FileUrl url = folder.makeFile("file.mp3", start);
        ASSERT_EQ(::truncate(url.path().constData(), 8LL << 30), 0);
        QElapsedTimer timer;
        timer.start();
        expectSane(MediaAsset::open(url), 8LL << 30);
        EXPECT_LT(timer.elapsed(), 10'000) << start.toHex().constData();
    }
}

TEST(HostileFiles, pipesAreNotWaitedFor) {
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo(folder.path("pipe.mp3").constData(), 0600), 0);
    expectSane(MediaAsset::open(folder.at("pipe.mp3")), 0);
}

}  // namespace
}  // namespace halvenor
