// Tracks read from files: those that common encoders write, and tags put together by hand.
#include <gmock/gmock.h>

#include "platform/decode/AudioFile.h"
#include "support/Programs.h"
#include "support/TagBytes.h"
#include "support/TemporaryFolder.h"
#include "tags/TagReading.h"

namespace halvenor {
namespace {

using namespace test;
using Optional = std::optional<int64_t>;

/// A file that nothing decodes; only its bytes matter.
const QByteArray cover = "\x89PNG\r\n cover";

// Blanks divide the arguments.
void run(const QByteArray& commandLine) {
    runProgram(QString::fromUtf8(commandLine).split(u' ', Qt::SkipEmptyParts));
}

/// Sources for the encoders: a tone of an odd number of samples, a picture.
class RealFiles : public testing::Test {
  protected:
    RealFiles() {
        run("ffmpeg -v error -f lavfi -i sine=440:duration=2.503 -ac 2 " +
            folder_.path("tone.wav"));
        run("ffmpeg -v error -f lavfi -i color=red:s=16x16 -frames:v 1 " +
            folder_.path("cover.png"));
    }

    FileUrl encode(const char* name, const char* options, bool withCover) const {
        QByteArray command = "ffmpeg -v error -i " + folder_.path("tone.wav");
        if (withCover) {
            command += " -i " + folder_.path("cover.png") +
                       " -map 0 -map 1 -c:v copy -disposition:v attached_pic";
        }
        for (const char* tag :
             {"title=Zażółć", "artist=日本𝄞", "album=Ällbum", "album_artist=Various",
              "date=1999-05-01", "genre=Trip-Hop", "track=3/12"}) {
            command += QByteArray(" -metadata ") + tag;
        }
        run(command + ' ' + options + ' ' + folder_.path(name));
        return folder_.at(name);
    }

    TemporaryFolder folder_;
};

TEST_F(RealFiles, everyFieldOfEveryFormat) {
    struct Case {
        const char* name;
        const char* options;
        bool hasCover;
        bool hasAlbumArtist;
        Optional bitrate;
    };
    const Case cases[] = {
        {"v23.mp3", "-b:a 128k -id3v2_version 3", true, true, 128},
        {"v24.mp3", "-q:a 2 -id3v2_version 4", true, true, {}},
        {"x.flac", "", true, true, {}},
        {"x.m4a", "-b:a 96k", true, true, {}},
        {"x.alac", "-c:a alac -f ipod", true, true, {}},
        {"x.ogg", "-c:a libvorbis", false, true, {}},
        {"opus.ogg", "-c:a libopus -ar 48000", false, true, {}},
        {"x.wav", "", false, false, 1411},
        {"x.aiff", "-write_id3v2 1", true, true, 1411},
        {"x.aif", "-write_id3v2 1", false, true, 1411},
        {"x.aac", "-write_id3v2 1", false, true, {}},
    };
    const Track source = readTrack(folder_.at("cover.png"));
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const FileUrl url = encode(each.name, each.options, each.hasCover);
        const Track track = readTrack(url);
        EXPECT_EQ(track.title(), QStringLiteral("Zażółć"));
        EXPECT_EQ(track.artist(), QStringLiteral("日本𝄞"));
        EXPECT_EQ(track.album(), QStringLiteral("Ällbum"));
        EXPECT_EQ(track.albumArtist(),
                  each.hasAlbumArtist ? QStringLiteral("Various") : QStringLiteral("日本𝄞"));
        EXPECT_EQ(track.year(), Optional(1999));
        EXPECT_EQ(track.genre(), std::optional(QStringLiteral("Trip-Hop")));
        EXPECT_EQ(track.trackNumber(), Optional(3));
        EXPECT_EQ(track.artworkData().bytes().size(), each.hasCover ? source.fileSize() : 0);
        EXPECT_EQ(track.artworkData().bytes().startsWith("\x89PNG"), each.hasCover);
        EXPECT_GT(track.bitrate().value_or(0), 0);
        if (each.bitrate) {
            EXPECT_EQ(track.bitrate(), each.bitrate);
        }

        const auto file = AudioFile::open(url);
        const AudioFormat format = file->processingFormat();
        EXPECT_EQ(track.sampleRate(), Optional(format.sampleRate));
        const double played = static_cast<double>(file->length()) / format.sampleRate;
        EXPECT_NEAR(track.duration(), played, 0.05);
        EXPECT_NEAR(track.duration(), 2.503, 0.05);
    }
}

struct Expected {
    const char16_t* title = u"file";
    const char16_t* artist = u"Unknown Artist";
    const char16_t* album = u"Unknown Album";
    const char16_t* albumArtist = u"Unknown Artist";
    Optional year = std::nullopt;
    const char16_t* genre = nullptr;
    Optional trackNumber = std::nullopt;
    QByteArray artwork = {};
};

void expectTrack(const QByteArray& contents, const char* name, const Expected& expected) {
    SCOPED_TRACE(name);
    const TemporaryFolder folder;
    // The extension misleads on purpose: content decides.
    const Track track = readTrack(folder.makeFile("file.wav", contents));
    EXPECT_EQ(track.title(), QString::fromUtf16(expected.title));
    EXPECT_EQ(track.artist(), QString::fromUtf16(expected.artist));
    EXPECT_EQ(track.album(), QString::fromUtf16(expected.album));
    EXPECT_EQ(track.albumArtist(), QString::fromUtf16(expected.albumArtist));
    EXPECT_EQ(track.year(), expected.year);
    EXPECT_EQ(track.genre().value_or(QString()), QString::fromUtf16(expected.genre));
    EXPECT_EQ(track.genre().has_value(), expected.genre != nullptr);
    EXPECT_EQ(track.trackNumber(), expected.trackNumber);
    EXPECT_EQ(track.artworkData().bytes(), expected.artwork);
    EXPECT_EQ(track.fileSize(), contents.size());
}

QString u(const char16_t* text) {
    return QString::fromUtf16(text);
}

TEST(TagBytes, id3v2OfEveryVersion) {
    for (const int version : {2, 3, 4}) {
        const auto id = [version](const char* old, const char* now) {
            return QByteArray(version == 2 ? old : now);
        };
        const QByteArray picture =
            version == 2 ? id3Frame(2, "PIC", QByteArray("\0PNG\3\0", 6) + cover)
                         : id3Frame(version, "APIC", id3Picture("image/png", 3, cover));
        const QByteArray tag = id3Tag(
            version, id3Text(version, id("TT2", "TIT2"), u(u"Größe 𝄞")) +
                         id3Text(version, id("TP1", "TPE1"), u(u"日本")) +
                         id3Text(version, id("TAL", "TALB"), u(u"A")) +
                         id3Text(version, id("TP2", "TPE2"), u(u"AA")) +
                         id3Text(version, id("TYE", version == 3 ? "TYER" : "TDRC"), u(u"1987")) +
                         id3Text(version, id("TCO", "TCON"), u(u"(17)")) +
                         id3Text(version, id("TRK", "TRCK"), u(u"4/9")) + picture);
        expectTrack(tag + mp3Frames(20), std::to_string(version).c_str(),
                    {u"Größe 𝄞", u"日本", u"A", u"AA", 1987, u"Rock", 4, cover});
    }
}

TEST(TagBytes, id3v2Details) {
    const auto genre = [](int version, const char16_t* value) {
        return id3Tag(version, id3Text(version, "TCON", u(value)));
    };
    const auto mp3 = mp3Frames(20);
    expectTrack(genre(3, u"17") + mp3, "bare number", {.genre = u"Rock"});
    expectTrack(genre(3, u"(17)Rock") + mp3, "number with its name", {.genre = u"Rock"});
    expectTrack(genre(3, u"(31)(39)") + mp3, "two numbers", {.genre = u"Trance, Noise"});
    expectTrack(genre(4, u"RX") + mp3, "remix", {.genre = u"Remix"});
    expectTrack(genre(3, u"(200)") + mp3, "no such number", {});
    expectTrack(id3Tag(3, id3Text(3, "TIT2", u(u"one")) + id3Text(3, "TIT2", {})) + mp3,
                "an empty last title is none", {});
    expectTrack(id3Tag(3, id3Text(3, "TYER", u(u"2001")) + id3Text(3, "TDRC", u(u"soon"))) + mp3,
                "a bad date after a good one", {.year = 2001});
    expectTrack(id3Tag(3, id3Frame(3, "APIC", id3Picture("image/jpeg", 3, "front")) +
                              id3Frame(3, "APIC", id3Picture("image/jpeg", 4, "back")) +
                              id3Frame(3, "APIC", id3Picture("-->", 3, "file:///x.png")) +
                              id3Frame(3, "APIC", id3Picture("image/jpeg", 3, ""))) +
                    mp3,
                "the last picture with bytes", {.artwork = "back"});
    // A frame that claims to be encrypted: there, but not to be read.
    QByteArray encrypted = id3Text(3, "TIT2", u(u"secret"));
    encrypted[9] = 0x40;
    expectTrack(id3Tag(3, id3Text(3, "TIT2", u(u"open")) + encrypted) + mp3,
                "an encrypted title leaves the one before", {.title = u"open"});
    // UTF-8 in a v2.3 tag, as it stands after a v2.4 tag was rewritten frame by frame.
    expectTrack(id3Tag(3, id3Frame(3, "TIT2", "\3Größe")) + mp3, "UTF-8", {.title = u"Größe"});
    expectTrack(id3Tag(4, id3Frame(4, "TPE1", QByteArray("\3A\0B", 4))) + mp3, "two artists",
                {.artist = u"A, B", .albumArtist = u"A, B"});
}

TEST(TagBytes, olderTagsFillWhatId3v2LeavesOpen) {
    const QByteArray mp3 = mp3Frames(20);
    const QByteArray v1 = id3v1Tag("T1", "Caf\xe9", "Größe", "1990", 5, 17);
    const QByteArray ape =
        apeTag({apeItem("Title", "T ape", 0), apeItem("Album Artist", "X", 0),
                apeItem("Track", "7/8", 0), apeItem("Year", "1995", 0),
                apeItem("Cover Art (Front)", "a.png" + QByteArray(1, '\0') + cover, 2)});
    expectTrack(mp3 + v1, "ID3v1 alone", {u"T1", u"Café", u"Größe", u"Café", 1990, u"Rock", 5, {}});
    expectTrack(mp3 + id3v1Tag("", "", "", "", 0, '\xff'), "an empty ID3v1 tag", {});
    expectTrack(
        mp3 + ape, "APE alone",
        {.title = u"T ape", .albumArtist = u"X", .year = 1995, .trackNumber = 7, .artwork = cover});
    expectTrack(mp3 + ape + v1, "APE over ID3v1",
                {u"T ape", u"Café", u"Größe", u"X", 1995, u"Rock", 7, cover});
    expectTrack(
        id3Tag(3, id3Text(3, "TIT2", u(u"T2")) + id3Text(3, "TRCK", u(u"1"))) + mp3 + ape + v1,
        "ID3v2 over both", {u"T2", u"Café", u"Größe", u"X", 1995, u"Rock", 1, cover});
    expectTrack(id3Tag(3, {}) + mp3 + v1, "an ID3v2 tag without frames",
                {u"T1", u"Café", u"Größe", u"Café", 1990, u"Rock", 5, {}});
}

TEST(TagBytes, vorbisCommentsAndPictures) {
    const QByteArray comments = vorbisComments(
        {"title=Größe", "ARTIST=first", "Artist=second", "ALBUM=", "ALBUMARTIST=AA",
         "DATE=1999-05-01", "YEAR=1998", "GENRE=Jazz", "TRACKNUMBER=03", "without equals sign"});
    const QByteArray picture = flacPicture("image/png", 3, cover);
    const QByteArray other = flacPicture("image/png", 4, "back");
    const Expected expected{u"Größe", u"second", u"Unknown Album", u"AA", 1999, u"Jazz", 3, cover};
    const QByteArray flac =
        flacFile({flacBlock(6, other), flacBlock(4, comments), flacBlock(6, picture)});
    expectTrack(flac, "FLAC", expected);
    expectTrack(id3Tag(3, id3Text(3, "TIT2", u(u"no"))) + flac, "FLAC behind ID3v2", expected);

    const QByteArray embedded = "METADATA_BLOCK_PICTURE=" + picture.toBase64();
    expectTrack(flacFile({flacBlock(4, vorbisComments({embedded})),
                          flacBlock(4, vorbisComments({"TITLE=second block"}))}),
                "a picture among the comments; the first block counts", {.artwork = cover});
}

TEST_F(RealFiles, oggPictures) {
    const FileUrl ogg = encode("x.ogg", "-c:a libvorbis", false);
    const FileUrl comments = folder_.makeFile(
        "comments", "TITLE=T\nMETADATA_BLOCK_PICTURE=" +
                        flacPicture("image/png", 3, cover.repeated(20000)).toBase64() + '\n');
    run("vorbiscomment -w -R -c " + comments.path() + ' ' + ogg.path());
    const Track track = readTrack(ogg);
    EXPECT_EQ(track.title(), QStringLiteral("T"));
    EXPECT_EQ(track.artworkData().bytes(), cover.repeated(20000));
    EXPECT_NEAR(track.duration(), 2.503, 0.05);
}

TEST(TagBytes, mp4Items) {
    const auto textItem = [](const char* code, const QByteArray& value) {
        return atom(code, mp4Value(1, value));
    };
    const QByteArray track = QByteArray::fromHex("00000005000c0000");
    expectTrack(
        mp4File(textItem("\251nam", "Größe") + textItem("\251ART", "A") + textItem("\251alb", "B") +
                textItem("aART", "C") + textItem("\251day", "2001-02-03T00:00:00Z") +
                atom("trkn", mp4Value(0, track)) + atom("gnre", mp4Value(0, be16(18))) +
                atom("covr", mp4Value(13, "front") + mp4Value(14, cover))),
        "all", {u"Größe", u"A", u"B", u"C", 2001, u"Rock", 5, cover});
    expectTrack(mp4File(atom("trkn", mp4Value(0, track.left(3)))), "a short number", {});
    expectTrack(mp4File(textItem("trkn", "6/7") + textItem("\251gen", "Own")), "a number as text",
                {.genre = u"Own", .trackNumber = 6});
    expectTrack(mp4File(textItem("\251nam", "one") + textItem("\251nam", "")),
                "an empty last title is none", {});
}

TEST(ReadTrack, namesNeedNotBeText) {
    const TemporaryFolder folder;
    const FileUrl url = folder.makeFile("caf\xe9.MP3", mp3Frames(40));
    const Track track = readTrack(url);
    EXPECT_EQ(track.id(), url.path());
    EXPECT_EQ(track.title(), QStringLiteral("caf\ufffd"));
    EXPECT_EQ(track.format(), QStringLiteral("MP3"));
    EXPECT_EQ(track.sampleRate(), Optional(44100));
    EXPECT_EQ(track.bitrate(), Optional(128));
    EXPECT_NEAR(track.duration(), 40 * 1152 / 44100.0, 0.03);
}

TEST(ReadTrack, whatIsNoFileStillGivesATrack) {
    const TemporaryFolder folder;
    const FileUrl places[] = {folder.at("missing.flac"), folder.makeFolder("folder.flac"),
                              folder.makeLink("loop.flac", "loop.flac"), FileUrl("/dev/null.flac")};
    for (const FileUrl& url : places) {
        const Track track = readTrack(url);
        EXPECT_EQ(track.id(), url.path());
        EXPECT_EQ(track.artist(), QStringLiteral("Unknown Artist"));
        EXPECT_EQ(track.format(), QStringLiteral("FLAC"));
        EXPECT_TRUE(track.duration() == 0 && track.fileSize() == 0);
        EXPECT_FALSE(track.bitrate() || track.sampleRate() || track.artworkData().isPresent());
    }
}

}  // namespace
}  // namespace halvenor
