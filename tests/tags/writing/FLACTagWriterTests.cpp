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

// A comment block's payload with the vendor "v".
QByteArray comments(const QByteArrayList& entries) {
    QByteArray payload = hex("01000000 76") + le32(static_cast<uint32_t>(entries.size()));
    for (const QByteArray& entry : entries) {
        payload += le32(static_cast<uint32_t>(entry.size())) + entry;
    }
    return payload;
}

QByteArray commentBlock(const QByteArrayList& entries, int flag = 0) {
    return flacBlock(4 | flag, comments(entries));
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

struct SourceCase {
    const char* name;
    QByteArray source;
    ID3TagFields fields;
    QByteArray expected;
};

// All files begin with the signature and end with audio.
void check(const std::vector<SourceCase>& cases) {
    for (const SourceCase& each : cases) {
        const QByteArray result = rewritten(each.fields, "fLaC" + each.source + audio, "a.flac");
        EXPECT_EQ(result.toHex(' '), ("fLaC" + each.expected + audio).toHex(' ')) << each.name;
    }
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
    check({
        {"comments: behind the first block", info + application + lastPadding, title,
         info + newComments + application + lastPadding},
        {"comments: as the last block", lastInfo, title, info + lastNewComments},
        {"comments: in their place", info + application + old + lastPadding, title,
         info + application + edited + lastPadding},
        {"comments: in their place at the end", info + lastOld, title, info + lastEdited},
        {"comments: the first block of two", info + old + commentBlock({"TITLE=C"}, 0x80), title,
         info + edited + commentBlock({"TITLE=C"}, 0x80)},
        {"comments: as the very first block", lastOld, title, lastEdited},
        {"picture: before the padding", info + old + application + lastPadding, picture,
         info + old + application + cover + lastPadding},
        {"picture: before the first padding", info + old + padding + application + lastPadding,
         picture, info + old + cover + padding + application + lastPadding},
        {"picture: at the end", info + old + lastApplication, picture,
         info + old + application + lastCover},
        {"picture: behind comments that were last", info + lastOld, both,
         info + edited + lastCover},
        {"picture: in the place of the first, whatever it shows",
         info + old + otherPicture + padding + lastOther, picture,
         info + old + cover + padding + lastOther},
        {"picture: in the place of the last block", info + old + lastOther, picture,
         info + old + lastCover},
        {"picture: none given, none touched", info + old + lastOther, title,
         info + edited + lastOther},
        {"both: new, behind the only block", lastInfo, both, info + newComments + lastCover},
        {"both: new, before the padding", info + lastPadding, both,
         info + newComments + cover + lastPadding},
        {"both: new, at the two ends", info + lastApplication, both,
         info + newComments + application + lastCover},
        {"both: new, around a padding that is all there is", lastPadding, both,
         cover + padding + lastNewComments},
        {"both: new comments before the old picture", info + lastOther, both,
         info + newComments + lastCover},
        {"both: the picture stands before the comments", info + otherPicture + lastOld, both,
         info + cover + lastEdited},
        {"unknown and empty blocks", info + hex("7F 000000 05 000001 55") + old + lastPadding,
         title, info + hex("7F 000000 05 000001 55") + edited + lastPadding},
        {"no edit: comments are there afterwards",
         lastInfo,
         {},
         info + hex("84 000010 08000000") + "Halvenor" + hex("00000000")},
    });
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
    struct Case {
        const char* name;
        ID3TagFields fields;
        QByteArrayList before;
        QByteArrayList after;
    };
    const Case cases[] = {
        {"several of a key become one, at the first place",
         artist,
         {"a=1", "artist=Old", "B=2", "ARTIST=Older", "Artist=Oldest"},
         {"a=1", "ARTIST=New", "B=2"}},
        {"what is new comes last", year, {"DATE=2001", "x=y"}, {"DATE=1999", "x=y", "YEAR=1999"}},
        {"what no edit knows stays",
         artist,
         {"no sign", "=x", "", "Disc=1=2", "ARTISTS=z"},
         {"no sign", "=x", "", "Disc=1=2", "ARTISTS=z", "ARTIST=New"}},
        {"what is not UTF-8 goes, wherever it is wrong",
         artist,
         {"A=\xff", "B=\xc3", "C=\xed\xa0\x80", "D=\xc0\xaf", "\xe9=E", "F=\xc3\xa9"},
         {"F=\xc3\xa9", "ARTIST=New"}},
        {"letters beyond ASCII have an upper case", artist, {"art\xc4\xb1st=Old"}, {"ARTIST=New"}},
        {"a byte-order mark belongs to the key",
         artist,
         {mark + "ARTIST=Old"},
         {mark + "ARTIST=Old", "ARTIST=New"}},
        {"bytes of zero", artist, {QByteArray("A=\0b", 4)}, {QByteArray("A=\0b", 4), "ARTIST=New"}},
        {"a value with a sign", artist, {"ARTIST=a=b"}, {"ARTIST=New"}},
        {"all of them, in order",
         fullEdit(),
         {},
         {"ALBUM=", "ALBUMARTIST=\xf0\x9f\x8e\xb5", "ARTIST=\xc3\x84", "DATE=1999", "TITLE=T",
          "YEAR=1999"}},
        {"none", {}, {"TITLE=x", "title=y"}, {"TITLE=x", "title=y"}},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(edited(each.fields, comments(each.before)), comments(each.after)) << each.name;
    }
    EXPECT_EQ(edited(artist, comments({}) + "left over"), comments({"ARTIST=New"}));
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
    ID3TagFields fields = fullEdit();
    fields.artworkData = QByteArray(70'000, 'j');
    fields.artworkMimeType = QStringLiteral("image/jpeg");
    const QByteArray once = rewritten(fields, source, "a.flac");
    EXPECT_TRUE(once.endsWith(lastPadding + audio));
    EXPECT_EQ(rewritten(fields, once, "a.flac"), once);
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
