// Tags byte by byte: what stands in the file before, what must stand there after.
#include <gmock/gmock.h>

#include "support/TagBytes.h"
#include "tags/writing/WrittenFile.h"

namespace halvenor {
namespace {

using namespace test;

// Stands for the audio; its first bytes are those of an MPEG frame.
const QByteArray audio = hex("FF FB 90 64 00 01 02 03");

// TIT2 with "A", and the whole tag that holds nothing else.
const QByteArray titleA = hex("54495432 00000007 0000 01 FFFE 4100 0000");
const QByteArray tagOfTitleA = hex("494433 03 00 00 00000011") + titleA;

// COMM, an empty one with a flag set: 15 bytes.
const QByteArray comment = hex("434F4D4D 00000005 4000 00 656E67 00");

TEST(ID3Writer, makesTheFramesOfAnEdit) {
    EXPECT_EQ(rewritten(titleEdit(QStringLiteral("A")), audio), tagOfTitleA + audio);
    EXPECT_EQ(rewritten({}, audio), hex("494433 03 00 00 00000000") + audio);
    EXPECT_EQ(rewritten(fullEdit(), audio),
              hex("494433 03 00 00 0000005B"                              // 91 bytes of frames
                  "54495432 00000007 0000 01 FFFE 5400 0000"              // TIT2 T
                  "54504531 00000007 0000 01 FFFE C400 0000"              // TPE1 Ä
                  "54414C42 00000005 0000 01 FFFE 0000"                   // TALB, empty
                  "54504532 00000009 0000 01 FFFE 3CD8B5DF 0000"          // TPE2, a pair
                  "54594552 0000000D 0000 01 FFFE 3100390039003900 0000"  // TYER 1999
                  ) +
                  audio);
    ID3TagFields half;
    half.title = QString(QChar(0xd83c));
    EXPECT_EQ(rewritten(half, audio),
              hex("494433 03 00 00 00000011 54495432 00000007 0000 01 FFFE 3F00 0000") + audio)
        << "half of a pair is no text";
    ID3TagFields early;
    early.year = -44;
    EXPECT_TRUE(rewritten(early, audio)
                    .contains(hex("54594552 0000000B 0000 01 FFFE 2D00 3400 3400 0000") + audio));
}

TEST(ID3Writer, makesPictures) {
    struct Case {
        const char* mimeType;
        const char* written;  // as ISO-8859-1
    };
    const Case cases[] = {{"image/png", "image/png"},
                          {"", ""},
                          {"bild/\xc3\xa4", "bild/\xe4"},
                          {"image/\xe2\x82\xac", "image/jpeg"}};
    for (const Case& each : cases) {
        ID3TagFields fields;
        fields.artworkData = QByteArray("\x89PNG\0\xff", 6);
        fields.artworkMimeType = QString::fromUtf8(each.mimeType);
        const QByteArray payload =
            hex("00") + each.written + hex("00 03 00") + hex("89 50 4E 47 00 FF");
        const QByteArray frame =
            "APIC" + be32(static_cast<uint32_t>(payload.size())) + hex("0000") + payload;
        EXPECT_EQ(rewritten(fields, audio),
                  hex("494433 03 00 00 000000") + static_cast<char>(frame.size()) + frame + audio);
    }
    ID3TagFields empty;
    empty.artworkData = QByteArray();
    empty.artworkMimeType = QStringLiteral("a");
    EXPECT_EQ(rewritten(empty, audio), hex("494433 03 00 00 0000000F"
                                           "41504943 00000005 0000 00 61 00 03 00") +
                                           audio);
}

struct SourceCase {
    const char* name;
    QByteArray source;
    ID3TagFields fields;
    QByteArray expected;
};

void check(const std::vector<SourceCase>& cases) {
    for (const SourceCase& each : cases) {
        EXPECT_EQ(rewritten(each.fields, each.source).toHex(' '), each.expected.toHex(' '))
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
    const QByteArray back = hex("41504943 00000005 0000 00 00 04 00 62");   // APIC, back cover
    const QByteArray front = hex("41504943 00000005 0000 00 00 03 00 66");  // 15 bytes each
    const QByteArray newFront =
        hex("41504943 00000006 0000 00") + hex("00 03 00 63");  // no MIME type
    check({
        {"2.3: the title is replaced, and goes behind what stays",
         hex("494433 03 00 00 0000002A") + otherTitle + comment + date + audio, title,
         hex("494433 03 00 00 0000002F") + comment + date + titleA + audio},
        {"every frame of a replaced identifier goes",
         hex("494433 03 00 00 00000027") + otherTitle + comment + otherTitle + audio, title,
         hex("494433 03 00 00 00000020") + comment + titleA + audio},
        {"no edit: the same frames in the same order, equal ones too",
         hex("494433 03 00 00 0000003C") + comment + back + front + comment + audio,
         {},
         hex("494433 03 00 00 0000003C") + comment + back + front + comment + audio},
        {"2.4: a year replaces both ways to write one",
         hex("494433 04 00 00 0000002D") + date + comment + oldYear + audio, year,
         hex("494433 03 00 00 00000020") + comment + year7 + audio},
        {"2.4: without a year the date stays, in a version that has no such frame",
         hex("494433 04 00 00 0000000F") + date + audio,
         {},
         hex("494433 03 00 00 0000000F") + date + audio},
        {"a frame without bytes, and one whose identifier is partly zero",
         hex("494433 03 00 00 00000014 58585858 00000000 0000 54000000 00000000 0000") + audio,
         {},
         hex("494433 03 00 00 00000014 58585858 00000000 0000 54000000 00000000 0000") + audio},
        {"new artwork takes the place of all pictures",
         hex("494433 03 00 00 0000002D") + back + comment + front + audio, cover,
         hex("494433 03 00 00 0000001E") + comment + hex("41504943 00000005 0000 00 00 03 00 63") +
             audio},
    });
}

TEST(ID3Writer, convertsSizesAndNothingElse) {
    const QByteArray payload(257, 'p');
    const QByteArray longPayload(0x204080, 'q');
    check({
        {"2.4: 257 is 00 00 02 01 there",
         hex("494433 04 00 00 0000020B 54585858 00000201 4003") + payload + audio,
         {},
         hex("494433 03 00 00 0000020B 54585858 00000101 4003") + payload + audio},
        {"2.4: the upper bits of size bytes mean nothing",
         hex("494433 04 00 00 8080828B 54585858 80808281 0000") + payload + audio,
         {},
         hex("494433 03 00 00 0000020B 54585858 00000101 0000") + payload + audio},
        {"2.3: sizes are plain",
         hex("494433 03 00 00 0000020B 54585858 00000101 4003") + payload + audio,
         {},
         hex("494433 03 00 00 0000020B 54585858 00000101 4003") + payload + audio},
        {"2.4: a size of four digits",
         hex("494433 04 00 00 0101010A 54585858 01010100 0000") + longPayload + audio,
         {},
         hex("494433 03 00 00 0101010A 54585858 00204080 0000") + longPayload + audio},
        {"2.4: what is unsynchronised stays so, and nothing says it any more",
         hex("494433 04 00 80 0000000D 54585858 00000003 0002 FF00E0") + audio,
         {},
         hex("494433 03 00 00 0000000D 54585858 00000003 0002 FF00E0") + audio},
        {"2.4: a footer stays behind like audio",
         hex("494433 04 00 10 0000000F") + comment + hex("334449 04 00 10 0000000F") + audio,
         {},
         hex("494433 03 00 00 0000000F") + comment + hex("334449 04 00 10 0000000F") + audio},
    });
}

TEST(ID3Writer, stepsOverExtendedHeaders) {
    const QByteArray bare = hex("494433 03 00 00 00000000") + audio;
    const QByteArray kept = hex("494433 03 00 00 0000000F") + comment + audio;
    check({
        {"2.3: its size leaves its own four bytes out",
         hex("494433 03 00 40 00000019 00000006 0000 00000000") + comment + audio,
         {},
         kept},
        {"2.3: with a checksum",
         hex("494433 03 00 40 0000001D 0000000A 8000 00000000 DEADBEEF") + comment + audio,
         {},
         kept},
        {"2.4: its size counts all",
         hex("494433 04 00 40 00000015 00000006 01 00") + comment + audio,
         {},
         kept},
        {"2.4: beside other flags",
         hex("494433 04 00 C0 00000015 00000006 01 00") + comment + audio,
         {},
         kept},
        {"2.4: of no size", hex("494433 04 00 40 00000013 00000000") + comment + audio, {}, bare},
        {"2.3: beyond the tag",
         hex("494433 03 00 40 00000013 00000010") + comment + audio,
         {},
         bare},
        {"2.3: a size that 32 bits can't hold once its own bytes are added",
         hex("494433 03 00 40 00000013 FFFFFFFC") + comment + audio,
         {},
         bare},
        {"2.3: up to the very end of the tag",
         hex("494433 03 00 40 00000013 0000000F") + comment + audio,
         {},
         bare},
        {"no room for one", hex("494433 03 00 40 00000003 000000") + audio, {}, bare},
    });
}

TEST(ID3Writer, endsAtWhatIsNoFrame) {
    const QByteArray kept = hex("494433 03 00 00 0000000F") + comment + audio;
    const QByteArray bare = hex("494433 03 00 00 00000000") + audio;
    check({
        {"padding, and a frame behind it",
         hex("494433 03 00 00 00000028") + comment + hex("00000000 00000000 0000") + comment +
             audio,
         {},
         kept},
        {"less than a frame's header is left",
         hex("494433 03 00 00 00000018") + comment + hex("58585858 00000000 00") + audio,
         {},
         kept},
        {"a frame that runs past the tag",
         hex("494433 03 00 00 0000001D") + comment + hex("58585858 00000005 0000 00000000") + audio,
         {},
         kept},
        {"a frame that runs past everything",
         hex("494433 03 00 00 00000019") + comment + hex("58585858 FFFFFFFF 0000") + audio,
         {},
         kept},
        {"an identifier that is not ASCII, whatever follows",
         hex("494433 03 00 00 00000029") + comment + hex("58588058 00000001 0000 00") + comment +
             audio,
         {},
         kept},
        {"2.2: all goes",
         hex("494433 02 00 00 0000000B 545432 000005 00 41414141") + audio,
         {},
         bare},
        {"a version to come: all goes",
         hex("494433 05 00 00 0000000F") + comment + audio,
         {},
         bare},
    });
}

TEST(ID3Writer, knowsWhereATagEnds) {
    const QByteArray old = hex("494433 03 00 00 0000000F") + comment;
    const QByteArray kept = old;
    const QByteArray id3v1 = id3v1Tag("old", "a", "b", "1999", 1, 2);
    check({
        {"nothing but a tag", old, {}, kept},
        {"an ID3v1 tag at the end stays as it is", old + audio + id3v1, {}, kept + audio + id3v1},
        {"too short for a tag",
         hex("494433 03 00 00 000000"),
         {},
         hex("494433 03 00 00 00000000") + hex("494433 03 00 00 000000")},
        {"no tag",
         hex("494434 03 00 00 0000000F") + comment,
         {},
         hex("494433 03 00 00 00000000") + hex("494434 03 00 00 0000000F") + comment},
        {"nothing at all", {}, titleEdit(QStringLiteral("A")), tagOfTitleA},
        {"one byte longer than the file",
         hex("494433 03 00 00 00000010") + comment,
         {},
         "error: Invalid ID3 tag: it is longer than the file"},
        {"the largest claim",
         hex("494433 04 00 00 7F7F7F7F") + comment + audio,
         {},
         "error: Invalid ID3 tag: it is longer than the file"},
    });
    EXPECT_EQ(ID3Writer::existingID3v2TagSize(hex("494433 04 00 00 7F7F7F7F")), 0x0fffffff + 10);
    EXPECT_EQ(ID3Writer::existingID3v2TagSize(hex("494433 04 00 00 FFFFFFFF")), 0x0fffffff + 10);
}

TEST(ID3Writer, writesTheSameTwice) {
    const QByteArray source =
        id3Tag(4, id3Text(4, "TCON", QStringLiteral("Rock")) + id3Frame(4, "APIC", "x") +
                      id3Text(4, "TIT2", QStringLiteral("old")) +
                      id3Frame(4, "PRIV", QByteArray(5000, 'p'))) +
        audio;
    ID3TagFields fields = fullEdit();
    fields.artworkData = QByteArray(70'000, 'j');
    fields.artworkMimeType = QStringLiteral("image/jpeg");
    const QByteArray once = rewritten(fields, source);
    EXPECT_TRUE(once.endsWith(audio));
    EXPECT_EQ(rewritten(fields, once), once);
}

// A tag's size has 28 bits.
TEST(ID3Writer, refusesATagThatIsTooLarge) {
    constexpr qsizetype most = 0x0fffffff;
    ID3TagFields fields;
    fields.artworkData = QByteArray(most - 14, 'j');
    EXPECT_EQ(ID3Writer::rewrittenTag(fields, {}).front(), hex("494433 03 00 00 7F7F7F7F"));
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
