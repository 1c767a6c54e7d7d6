// Tags byte by byte: what stands in the file before, what must stand there after.
#include <gmock/gmock.h>

#include "support/TagBytes.h"
#include "tags/writing/WrittenFile.h"

namespace halvenor {
namespace {

using namespace test;

// Stands for the audio; its first bytes are those of an MPEG frame.
const QByteArray audio = hex("FF FB 90 64 00 01 02 03");

// A tag's header, of which the digits are version, flags and size.
QByteArray head(const char* digits) {
    return "ID3" + hex(digits);
}

// TIT2 with "A", and the whole tag that holds nothing else.
const QByteArray titleA = hex("54495432 00000007 0000 01 FFFE 4100 0000");
const QByteArray tagOfTitleA = head("03 00 00 00000011") + titleA;

// COMM, an empty one with a flag set: 15 bytes.
const QByteArray comment = hex("434F4D4D 00000005 4000 00 656E67 00");

// All tags have audio behind them.
void check(const std::vector<RewriteCase>& cases) {
    expectRewritten(cases, "track.mp3", {}, audio);
}

TEST(ID3Writer, makesTheFramesOfAnEdit) {
    const auto pictureEdit = [](const char* mimeType, const QByteArray& image) {
        ID3TagFields fields;
        fields.artworkData = image;
        fields.artworkMimeType = QString::fromUtf8(mimeType);
        return fields;
    };
    const ID3TagFields nothing;
    ID3TagFields early;
    early.year = -44;
    struct Case {
        const char* name;
        ID3TagFields fields;
        const char* tag;  // its size and frames
    };
    const Case cases[] = {
        {"a title", titleEdit(QStringLiteral("A")),
         "00000011 54495432 00000007 0000 01 FFFE 4100 0000"},
        {"nothing", nothing, "00000000"},
        {"all texts", fullEdit(),
         "0000005B"                                                // 91 bytes of frames
         "54495432 00000007 0000 01 FFFE 5400 0000"                // TIT2 T
         "54504531 00000007 0000 01 FFFE C400 0000"                // TPE1 Ä
         "54414C42 00000005 0000 01 FFFE 0000"                     // TALB, empty
         "54504532 00000009 0000 01 FFFE 3CD8B5DF 0000"            // TPE2, a pair
         "54594552 0000000D 0000 01 FFFE 3100390039003900 0000"},  // TYER 1999
        {"half of a pair is no text", titleEdit(QString(QChar(0xd83c))),
         "00000011 54495432 00000007 0000 01 FFFE 3F00 0000"},
        {"a year before the first", early,
         "00000015 54594552 0000000B 0000 01 FFFE 2D00 3400 3400 0000"},
        {"a picture", pictureEdit("image/png", hex("89504E4700FF")),
         "0000001D 41504943 00000013 0000 00 696D6167652F706E67 00 03 00 89504E4700FF"},
        {"a picture of no type", pictureEdit("", "c"),
         "0000000F 41504943 00000005 0000 00 00 03 00 63"},
        {"a type in Latin-1", pictureEdit("b/\xc3\xa4", "c"),
         "00000012 41504943 00000008 0000 00 622FE4 00 03 00 63"},
        {"a type that Latin-1 does not hold: image/jpeg", pictureEdit("b/\xe2\x82\xac", "c"),
         "00000019 41504943 0000000F 0000 00 696D6167652F6A706567 00 03 00 63"},
        {"a picture without bytes", pictureEdit("a", QByteArray("")),
         "0000000F 41504943 00000005 0000 00 61 00 03 00"},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(rewritten(each.fields, audio).toHex(' '),
                  (head("03 00 00") + hex(each.tag) + audio).toHex(' '))
            << each.name;
    }
}

TEST(ID3Writer, keepsTheFramesThatTheEditLeavesAlone) {
    const ID3TagFields title = titleEdit(QStringLiteral("A"));
    ID3TagFields year;
    year.year = 7;
    ID3TagFields cover;
    cover.artworkData = QByteArray("c");
    const QByteArray year7 = hex("54594552 00000007 0000 01 FFFE 3700 0000");
    const QByteArray date = hex("54445243 00000005 0000 00 31393939");  // TDRC 1999, 15 bytes
    const QByteArray oldYear = hex("54594552 00000005 0000 00 31393938");
    const QByteArray otherTitle = hex("54495432 00000002 0000 00 42");
    const QByteArray back = hex("41504943 00000005 0000 00 00 04 00 62");      // APIC, back cover
    const QByteArray front = hex("41504943 00000005 0000 00 00 03 00 66");     // 15 bytes each
    const QByteArray newFront = hex("41504943 00000005 0000 00 00 03 00 63");  // no MIME type
    const QByteArray equalFrames = head("03 00 00 0000003C") + comment + back + front + comment;
    const QByteArray oddFrames =
        head("03 00 00 00000014") + hex("58585858 00000000 0000 54000000 00000000 0000");
    check({
        {"2.3: the title is replaced, and goes behind what stays",
         head("03 00 00 0000002A") + otherTitle + comment + date,
         head("03 00 00 0000002F") + comment + date + titleA, title},
        {"every frame of a replaced identifier goes",
         head("03 00 00 00000027") + otherTitle + comment + otherTitle,
         head("03 00 00 00000020") + comment + titleA, title},
        {"no edit: the same frames in the same order, equal ones too", equalFrames, equalFrames},
        {"2.4: a year replaces both ways to write one",
         head("04 00 00 0000002D") + date + comment + oldYear,
         head("03 00 00 00000020") + comment + year7, year},
        {"2.4: without a year the date stays, in a version that has no such frame",
         head("04 00 00 0000000F") + date, head("03 00 00 0000000F") + date},
        {"a frame without bytes, and one whose identifier is partly zero", oddFrames, oddFrames},
        {"new artwork takes the place of all pictures",
         head("03 00 00 0000002D") + back + comment + front,
         head("03 00 00 0000001E") + comment + newFront, cover},
    });
}

TEST(ID3Writer, convertsSizesAndNothingElse) {
    const QByteArray payload(257, 'p');
    const QByteArray longPayload(0x204080, 'q');
    const QByteArray plain = head("03 00 00 0000020B") + hex("54585858 00000101 4003") + payload;
    const QByteArray footer = hex("334449 04 00 10 0000000F");
    check({
        {"2.3: sizes are plain", plain, plain},
        {"2.4: 257 is 00 00 02 01 there",
         head("04 00 00 0000020B") + hex("54585858 00000201 4003") + payload, plain},
        {"2.4: the upper bits of size bytes mean nothing",
         head("04 00 00 8080828B") + hex("54585858 80808281 4003") + payload, plain},
        {"2.4: a size of four digits",
         head("04 00 00 0101010A") + hex("54585858 01010100 0000") + longPayload,
         head("03 00 00 0101010A") + hex("54585858 00204080 0000") + longPayload},
        {"2.4: what is unsynchronised stays so, and nothing says it any more",
         head("04 00 80 0000000D") + hex("54585858 00000003 0002 FF00E0"),
         head("03 00 00 0000000D") + hex("54585858 00000003 0002 FF00E0")},
        {"2.4: a footer stays behind like audio", head("04 00 10 0000000F") + comment + footer,
         head("03 00 00 0000000F") + comment + footer},
    });
}

const QByteArray kept = head("03 00 00 0000000F") + comment;
const QByteArray bare = head("03 00 00 00000000");

TEST(ID3Writer, stepsOverExtendedHeaders) {
    check({
        {"2.3: its size leaves its own four bytes out",
         head("03 00 40 00000019") + hex("00000006 0000 00000000") + comment, kept},
        {"2.3: with a checksum",
         head("03 00 40 0000001D") + hex("0000000A 8000 00000000 DEADBEEF") + comment, kept},
        {"2.4: its size counts all", head("04 00 40 00000015") + hex("00000006 01 00") + comment,
         kept},
        {"2.4: beside other flags", head("04 00 C0 00000015") + hex("00000006 01 00") + comment,
         kept},
        {"2.4: of no size", head("04 00 40 00000013") + hex("00000000") + comment, bare},
        {"2.3: beyond the tag", head("03 00 40 00000013") + hex("00000010") + comment, bare},
        {"2.3: a size that 32 bits can't hold once its own bytes are added",
         head("03 00 40 00000013") + hex("FFFFFFFC") + comment, bare},
        {"2.3: up to the very end of the tag",
         head("03 00 40 00000013") + hex("0000000F") + comment, bare},
        {"no room for one", head("03 00 40 00000003") + hex("000000"), bare},
    });
}

TEST(ID3Writer, endsAtWhatIsNoFrame) {
    check({
        {"padding, and a frame behind it",
         head("03 00 00 00000028") + comment + hex("00000000 00000000 0000") + comment, kept},
        {"less than a frame's header is left",
         head("03 00 00 00000018") + comment + hex("58585858 00000000 00"), kept},
        {"a frame that runs past the tag",
         head("03 00 00 0000001D") + comment + hex("58585858 00000005 0000 00000000"), kept},
        {"a frame that runs past everything",
         head("03 00 00 00000019") + comment + hex("58585858 FFFFFFFF 0000"), kept},
        {"an identifier that is not ASCII, whatever follows",
         head("03 00 00 00000029") + comment + hex("58588058 00000001 0000 00") + comment, kept},
        {"2.2: all goes", head("02 00 00 0000000B") + hex("545432 000005 00 41414141"), bare},
        {"a version to come: all goes", head("05 00 00 0000000F") + comment, bare},
    });
}

TEST(ID3Writer, knowsWhereATagEnds) {
    const QByteArray id3v1 = id3v1Tag("old", "a", "b", "1999", 1, 2);
    const QByteArray noTag = hex("494434 03 00 00 0000000F") + comment;
    const QByteArray tooLong = "error: Invalid ID3 tag: it is longer than the file";
    const std::vector<RewriteCase> cases = {
        {"nothing but a tag", kept, kept},
        {"an ID3v1 tag at the end stays as it is", kept + audio + id3v1, kept + audio + id3v1},
        {"too short for a tag", bare.chopped(1), bare + bare.chopped(1)},
        {"no tag", noTag, bare + noTag},
        {"nothing at all", {}, tagOfTitleA, titleEdit(QStringLiteral("A"))},
        {"one byte longer than the file", head("03 00 00 00000010") + comment, tooLong},
        {"the largest claim", head("04 00 00 7F7F7F7F") + comment + audio, tooLong},
    };
    expectRewritten(cases, "track.mp3", {}, {});
    EXPECT_EQ(ID3Writer::existingID3v2TagSize(head("04 00 00 7F7F7F7F")), 0x0fffffff + 10);
    EXPECT_EQ(ID3Writer::existingID3v2TagSize(head("04 00 00 FFFFFFFF")), 0x0fffffff + 10);
}

TEST(ID3Writer, writesTheSameTwice) {
    const QByteArray source =
        id3Tag(4, id3Text(4, "TCON", QStringLiteral("Rock")) + id3Frame(4, "APIC", "x") +
                      id3Text(4, "TIT2", QStringLiteral("old")) +
                      id3Frame(4, "PRIV", QByteArray(5000, 'p'))) +
        audio;
    const QByteArray once = rewritten(largeEdit(), source);
    EXPECT_TRUE(once.endsWith(audio));
    EXPECT_EQ(rewritten(largeEdit(), once), once);
}

// A tag's size has 28 bits.
TEST(ID3Writer, refusesATagThatIsTooLarge) {
    constexpr qsizetype most = 0x0fffffff;
    ID3TagFields fields;
    fields.artworkData = QByteArray(most - 14, 'j');
    EXPECT_EQ(ID3Writer::rewrittenTag(fields, {}).front(), head("03 00 00 7F7F7F7F"));
    EXPECT_EQ(rewritten(fields, tagOfTitleA + audio), "error: ID3 tag is too large");
    EXPECT_EQ(ID3Writer::synchsafe(0xffffffff), hex("7F7F7F7F")) << "bits above are lost";
    EXPECT_EQ(ID3Writer::synchsafe(0x00204081), hex("01010101"));
}

TEST(ID3Writer, takesFilesByTheirExtension) {
    const QByteArray tagged = tagOfTitleA + audio;
    const ID3TagFields fields = titleEdit(QStringLiteral("A"));
    EXPECT_EQ(rewritten(fields, audio, "track.MP3"), tagged);
    EXPECT_EQ(rewritten(fields, "fLaC", "really.a.flac.mp3"), tagOfTitleA + "fLaC");
    EXPECT_EQ(rewritten(fields, audio, "track.mp4"), "error: not an MP3");
    EXPECT_EQ(rewritten(fields, audio, "mp3"), "error: not an MP3");
    EXPECT_EQ(failureOf([&] { ID3Writer::write(fields, FileUrl("/nowhere/at/all.wav")); }),
              "not an MP3");
}

}  // namespace
}  // namespace halvenor
