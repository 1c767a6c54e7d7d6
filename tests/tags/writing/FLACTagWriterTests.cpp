// Metadata blocks byte by byte: what stands in the file before, what must stand there after.
#include <QByteArrayList>

#include <gmock/gmock.h>

#include "support/TagBytes.h"
#include "tags/writing/WrittenFile.h"

namespace halvenor {
namespace {

using namespace test;

const QByteArray audio = hex("FF F8 C9 18 00 01 02 03");

// Blocks of the tests' own; none is looked into. The first of a file is STREAMINFO by rights.
const QByteArray info = hex("00 000004 01020304");
const QByteArray lastInfo = hex("80 000004 01020304");
const QByteArray application = hex("02 000003 414243");
const QByteArray lastApplication = hex("82 000003 414243");
const QByteArray padding = hex("01 000006 000000000000");
const QByteArray lastPadding = hex("81 000006 000000000000");

QByteArray commentBlock(const QByteArrayList& entries, int flag = 0) {
    return flacBlock(4 | flag, vorbisComments(entries));
}

// What an edit of the title to "A" makes where there are no comments.
const QByteArray newComments =
    hex("04 00001B 08000000") + "Halvenor" + hex("01000000 07000000") + "TITLE=A";
const QByteArray lastNewComments = '\x84' + newComments.sliced(1);

// The block of a cover that is no image, of the type "t".
const QByteArray cover =
    hex("06 000022 00000003 00000001 74 00000000 00000000 00000000 00000018 00000000 00000001 63");
const QByteArray lastCover = '\x86' + cover.sliced(1);

ID3TagFields coverEdit() {
    ID3TagFields fields;
    fields.artworkData = QByteArray("c");
    fields.artworkMimeType = QStringLiteral("t");
    return fields;
}

TEST(FLACTagWriter, putsBlocksInTheirPlaces) {
    const ID3TagFields title = titleEdit(QStringLiteral("A"));
    const ID3TagFields picture = coverEdit();
    ID3TagFields both = picture;
    both.title = QStringLiteral("A");
    const QByteArray old = commentBlock({"TITLE=B"});
    const QByteArray lastOld = commentBlock({"TITLE=B"}, 0x80);
    const QByteArray edited = commentBlock({"TITLE=A"});
    const QByteArray lastEdited = commentBlock({"TITLE=A"}, 0x80);
    const QByteArray otherPicture = hex("06 000002 0000");
    const QByteArray lastOther = hex("86 000002 0000");
    const QByteArray unknown = hex("7F 000000 05 000001 55");
    const std::vector<RewriteCase> cases = {
        {"comments: behind the first block", info + application + lastPadding,
         info + newComments + application + lastPadding, title},
        {"comments: as the last block", lastInfo, info + lastNewComments, title},
        {"comments: in their place", info + application + old + lastPadding,
         info + application + edited + lastPadding, title},
        {"comments: in their place at the end", info + lastOld, info + lastEdited, title},
        {"comments: the first block of two", info + old + commentBlock({"TITLE=C"}, 0x80),
         info + edited + commentBlock({"TITLE=C"}, 0x80), title},
        {"comments: as the very first block", lastOld, lastEdited, title},
        {"picture: before the padding", info + old + application + lastPadding,
         info + old + application + cover + lastPadding, picture},
        {"picture: before the first padding", info + old + padding + application + lastPadding,
         info + old + cover + padding + application + lastPadding, picture},
        {"picture: at the end", info + old + lastApplication, info + old + application + lastCover,
         picture},
        {"picture: behind comments that were last", info + lastOld, info + edited + lastCover,
         both},
        {"picture: in the place of the first, whatever it shows",
         info + old + otherPicture + padding + lastOther, info + old + cover + padding + lastOther,
         picture},
        {"picture: in the place of the last block", info + old + lastOther, info + old + lastCover,
         picture},
        {"picture: none given, none touched", info + old + lastOther, info + edited + lastOther,
         title},
        {"both: new, behind the only block", lastInfo, info + newComments + lastCover, both},
        {"both: new, before the padding", info + lastPadding,
         info + newComments + cover + lastPadding, both},
        {"both: new, at the two ends", info + lastApplication,
         info + newComments + application + lastCover, both},
        {"both: new, around a padding that is all there is", lastPadding,
         cover + padding + lastNewComments, both},
        {"both: new comments before the old picture", info + lastOther,
         info + newComments + lastCover, both},
        {"both: the picture stands before the comments", info + otherPicture + lastOld,
         info + cover + lastEdited, both},
        {"unknown and empty blocks", info + unknown + old + lastPadding,
         info + unknown + edited + lastPadding, title},
        {"no edit: comments are there afterwards", lastInfo,
         info + hex("84 000010 08000000") + "Halvenor" + hex("00000000")},
    };
    // All files begin with the signature and end with audio.
    expectRewritten(cases, "a.flac", "fLaC", audio);
}

TEST(FLACTagWriter, editsComments) {
    const auto edited = [](const ID3TagFields& fields, const QByteArray& payload) {
        return FLACTagWriter::updatingVorbisComments(payload,
                                                     FLACTagWriter::commentUpdates(fields));
    };
    ID3TagFields artist;
    artist.artist = QStringLiteral("New");
    ID3TagFields year;
    year.year = 1999;
    const QByteArray mark = "\xef\xbb\xbf";
    const QByteArray zero("A=\0b", 4);
    // Lines of comments; no text at all is no comment.
    const auto block = [](const QByteArray& lines) {
        return vorbisComments(lines.isNull() ? QByteArrayList() : lines.split('\n'));
    };
    struct Case {
        const char* name;
        ID3TagFields fields;
        QByteArray before;
        QByteArray after;
    };
    const ID3TagFields nothing;
    const Case cases[] = {
        {"several of a key become one, at the first place", artist,
         "a=1\nartist=Old\nB=2\nARTIST=Older\nArtist=Oldest", "a=1\nARTIST=New\nB=2"},
        {"what is new comes last", year, "DATE=2001\nx=y", "DATE=1999\nx=y\nYEAR=1999"},
        {"what no edit knows stays", artist, "no sign\n=x\n\nDisc=1=2\nARTISTS=z",
         "no sign\n=x\n\nDisc=1=2\nARTISTS=z\nARTIST=New"},
        {"what is not UTF-8 goes, wherever it is wrong", artist,
         "A=\xff\nB=\xc3\nC=\xed\xa0\x80\nD=\xc0\xaf\n\xe9=E\nF=\xc3\xa9",
         "F=\xc3\xa9\nARTIST=New"},
        {"letters beyond ASCII have an upper case", artist, "art\xc4\xb1st=Old", "ARTIST=New"},
        {"a byte-order mark belongs to the key", artist, mark + "ARTIST=Old",
         mark + "ARTIST=Old\nARTIST=New"},
        {"bytes of zero", artist, zero, zero + "\nARTIST=New"},
        {"a value with a sign", artist, "ARTIST=a=b", "ARTIST=New"},
        {"all of them, in order", fullEdit(), QByteArray(),
         "ALBUM=\nALBUMARTIST=\xf0\x9f\x8e\xb5\nARTIST=\xc3\x84\nDATE=1999\nTITLE=T\nYEAR=1999"},
        {"none", nothing, "TITLE=x\ntitle=y", "TITLE=x\ntitle=y"},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(edited(each.fields, block(each.before)), block(each.after)) << each.name;
    }
    EXPECT_EQ(edited(artist, vorbisComments({}) + "left over"), vorbisComments({"ARTIST=New"}));
    const QByteArray oddVendor = hex("02000000 FF00 00000000");
    EXPECT_EQ(edited({}, oddVendor), oddVendor) << "a vendor need not be text";
}

TEST(FLACTagWriter, refusesDamagedFiles) {
    struct Case {
        const char* name;
        QByteArray source;
        const char* message;
    };
    const QByteArray start = "fLaC" + info;
    const auto withComments = [&start](const char* payload) {
        return start + flacBlock(0x84, hex(payload)) + audio;
    };
    const char* const header = "Invalid FLAC metadata";
    const char* const block = "Invalid FLAC metadata block";
    const char* const comment = "Invalid FLAC Vorbis comment";
    const char* const entry = "Invalid FLAC Vorbis comment entry";
    const Case cases[] = {
        {"empty", {}, "Invalid FLAC file"},
        {"short", "fLaC\x80\0\0", "Invalid FLAC file"},
        {"not FLAC", "OggS" + lastInfo, "Invalid FLAC file"},
        {"an ID3 tag first", hex("494433 03 00 00 00000000") + "fLaC" + lastInfo,
         "Invalid FLAC file"},
        {"no last block", start, header},
        {"half a header", start + hex("04 0000"), header},
        {"a payload too short by one byte", start + hex("84 000009") + audio, block},
        {"the largest payload", "fLaC" + hex("80 FFFFFF") + audio, block},
        {"no vendor size", withComments("010000"), comment},
        {"a vendor beyond the block", withComments("FFFFFFFF 76 00000000"), comment},
        {"no count", withComments("01000000 76 0000"), comment},
        {"no size of an entry", withComments("01000000 76 01000000 000000"), comment},
        {"an entry beyond the block", withComments("01000000 76 01000000 02000000 41"), entry},
        {"the largest entry", withComments("01000000 76 01000000 FFFFFFFF 41"), entry},
        {"the largest count", withComments("01000000 76 FFFFFFFF 01000000 41"), comment},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(rewritten(fullEdit(), each.source, "a.flac"),
                  QByteArray("error: ") + each.message)
            << each.name;
    }
    EXPECT_EQ(rewritten({}, "fLaC" + lastInfo, "a.flac"),
              "fLaC" + info + hex("84 000010 08000000") + "Halvenor" + hex("00000000"))
        << "no audio is no damage";
}

// A block's size has 24 bits.
TEST(FLACTagWriter, refusesBlocksThatAreTooLarge) {
    constexpr qsizetype most = 0xffffff;
    const QByteArray source = "fLaC" + lastInfo + audio;
    ID3TagFields fields = coverEdit();
    fields.artworkData = QByteArray(most - 33, 'c');  // eight numbers, and the type "t"
    const QByteArray result = rewritten(fields, source, "a.flac");
    EXPECT_EQ(result.indexOf(hex("86 FFFFFF 00000003")), 4 + info.size() + 20);
    EXPECT_TRUE(result.endsWith("ccc" + audio));
    fields.artworkData->append('c');
    EXPECT_EQ(rewritten(fields, source, "a.flac"), "error: FLAC metadata block is too large");

    const qsizetype rest = 4 + 8 + 4 + 4 + 6;  // vendor, count, the entry's size, "TITLE="
    const QString longest(most - rest, u'x');
    EXPECT_TRUE(
        rewritten(titleEdit(longest), source, "a.flac").contains(hex("84 FFFFFF 08000000")));
    EXPECT_EQ(rewritten(titleEdit(longest + u'x'), source, "a.flac"),
              "error: FLAC metadata block is too large");
}

TEST(FLACTagWriter, tellsTheSizeOfThePicture) {
    const QByteArray png =
        hex("89504E470D0A1A0A 0000000D 49484452 00000140 000000F0 08 06 00 00 00");
    const QByteArray expected = hex("00000003 00000009") + "image/png" +
                                hex("00000000 00000140 000000F0 00000018 00000000 0000001D") + png;
    EXPECT_EQ(FLACTagWriter::makePictureBlock(png, QStringLiteral("image/png")), expected);
    EXPECT_EQ(FLACTagWriter::makePictureBlock({}, QStringLiteral("ä")),
              hex("00000003 00000002 C3A4 00000000 00000000 00000000 00000018 00000000 00000000"));
}

TEST(FLACTagWriter, writesTheSameTwice) {
    const QByteArray source = "fLaC" + info + application + lastPadding + audio;
    const QByteArray once = rewritten(largeEdit(), source, "a.flac");
    EXPECT_TRUE(once.endsWith(lastPadding + audio));
    EXPECT_EQ(rewritten(largeEdit(), once, "a.flac"), once);
}

// Blocks that hold nothing, half a million of them.
TEST(FLACTagWriter, passesOverAnyNumberOfBlocks) {
    const QByteArray many = hex("02 000000").repeated(500'000);
    EXPECT_EQ(rewritten({}, "fLaC" + info + many + audio, "a.flac").left(80),
              "error: Invalid FLAC metadata block")
        << "the audio reads like a block";
    const QByteArray source =
        "fLaC" + info + many + commentBlock({"TITLE=B"}) + lastPadding + audio;
    EXPECT_EQ(rewritten(titleEdit(QStringLiteral("A")), source, "a.flac"),
              "fLaC" + info + many + commentBlock({"TITLE=A"}) + lastPadding + audio);
}

}  // namespace
}  // namespace halvenor
