// What readers that are not ours make of what our writers write, and what decoders hear.
#include <gmock/gmock.h>

#include "support/MediaLibrary.h"
#include "support/Programs.h"
#include "support/TagBytes.h"
#include "tags/writing/Readers.h"
#include "tags/writing/WrittenFile.h"

namespace halvenor {
namespace {

using namespace test;
using testing::HasSubstr;

constexpr int64_t frameCount = 50'000;

QByteArray musicOf(const char* kind) {
    return readBytes(MediaLibrary::shared().file(kind, frameCount));
}

// MPEG audio alone.
QByteArray withoutTag(const QByteArray& mp3) {
    return mp3.mid(ID3Writer::existingID3v2TagSize(mp3));
}

ID3TagFields textEdit() {
    ID3TagFields fields;
    fields.title = QStringLiteral("Straße \U0001F3B5 日本");
    fields.artist = QStringLiteral("Ein / Zwei");
    fields.album = QStringLiteral("x").repeated(300);
    fields.albumArtist = QStringLiteral("Various");
    fields.year = 1999;
    return fields;
}

ID3TagFields coverEdit(const char* extension, int width, int height) {
    ID3TagFields fields = textEdit();
    fields.title = QStringLiteral("With a cover");
    fields.artworkData = makeImage(extension, width, height);
    const bool isPng = extension == QByteArrayView("png");
    fields.artworkMimeType = isPng ? QStringLiteral("image/png") : QStringLiteral("image/jpeg");
    return fields;
}

// Writes the edit, and then one of the texts alone. After each, every reader sees it and what was
// kept, and decoders hear what they heard.
template <class Writer>
void expectEdits(const FileUrl& file, const ID3TagFields& edit, SeenTags kept,
                 const std::string& what) {
    const QByteArray sound = decodedAudio(file);
    ASSERT_GT(sound.size(), frameCount * 4);
    kept.coverType = edit.artworkMimeType.toStdString();
    kept.cover = *edit.artworkData;
    for (const ID3TagFields& fields : {edit, textEdit()}) {
        Writer::write(fields, file);
        SeenTags expected = kept;
        expected.title = fields.title->toStdString();
        expected.artist = fields.artist->toStdString();
        expected.album = fields.album->toStdString();
        expected.albumArtist = fields.albumArtist->toStdString();
        expected.date = std::to_string(*fields.year);
        for (const auto& [name, read] : readers()) {
            EXPECT_EQ(read(file), expected) << name << " of " << what;
        }
        EXPECT_TRUE(decodedAudio(file) == sound) << what;
    }
}

TEST(OtherReaders, agreeOnMp3) {
    SeenTags kept;
    kept.genre = "Rock";
    kept.comment = QByteArray("said ").repeated(40).toStdString();
    const QByteArray texts =
        id3Text(4, "TIT2", QStringLiteral("old")) + id3Text(4, "TCON", QStringLiteral("Rock")) +
        id3Text(4, "TDRC", QStringLiteral("1970")) +
        id3Frame(4, "COMM", hex("03 656E67 00") + QByteArray::fromStdString(kept.comment));
    SeenTags genre;
    genre.genre = "Rock";
    struct Source {
        const char* name;
        const char* kind;
        QByteArray head;
        SeenTags kept;
    };
    const Source sources[] = {
        {"no tag", "mp3 lame untagged", {}, {}},
        {"2.4 with padding", "mp3 lame 128", id3Tag(4, texts + QByteArray(2000, '\0')), kept},
        {"2.3", "mp3 lame V2", id3Tag(3, id3Text(3, "TCON", QStringLiteral("Rock"))), genre},
        {"2.2", "mp3 lame V2", id3Tag(2, id3Text(2, "TCO", QStringLiteral("Rock"))), {}},
    };
    const TemporaryFolder folder;
    const ID3TagFields edit = coverEdit("png", 320, 200);
    for (const Source& source : sources) {
        const QByteArray frames = withoutTag(musicOf(source.kind));
        const FileUrl file = folder.makeFile("a.mp3", source.head + frames);
        expectEdits<ID3Writer>(file, edit, source.kept, source.name);
        EXPECT_TRUE(withoutTag(readBytes(file)) == frames) << source.name;
    }
}

TEST(OtherReaders, agreeOnFlac) {
    SeenTags kept;
    kept.genre = "Rock";
    kept.comment = "said";
    const QByteArray made = musicOf("flac 24");
    const QByteArray frames = made.mid(FLACTagWriter::metadataSize(made));
    const QByteArray info = made.mid(8, 34);
    const QByteArray comments =
        vorbisComments({"genre=Rock", "title=old", "Comment=said", "TITLE=older"});
    struct Source {
        const char* name;
        QByteArray bytes;
        SeenTags kept;
    };
    const Source sources[] = {
        {"as our own encoder makes it", made, {}},
        {"with a table of places to seek to", musicOf("flac seektable"), {}},
        {"STREAMINFO alone", "fLaC" + flacBlock(0x80, info) + frames, {}},
        {"comments, an application's block, padding",
         "fLaC" + flacBlock(0, info) + flacBlock(2, "test") + flacBlock(4, comments) +
             flacBlock(0x81, QByteArray(100, '\0')) + frames,
         kept},
    };
    const TemporaryFolder folder;
    const ID3TagFields edit = coverEdit("jpg", 111, 222);
    for (const Source& source : sources) {
        const FileUrl file = folder.makeFile("a.flac", source.bytes);
        expectEdits<FLACTagWriter>(file, edit, source.kept, source.name);
        outputOf("flac -ts -w FILE", file.path());
        const QByteArray list = outputOf("metaflac --list FILE", file.path());
        EXPECT_THAT(list.toStdString(), HasSubstr("width: 111\n  height: 222\n")) << source.name;
        EXPECT_THAT(list.toStdString(), HasSubstr("type: 3 (Cover (front))")) << source.name;
        EXPECT_EQ(list.count("type: 6 (PICTURE)"), 1) << source.name;
        EXPECT_EQ(list.count("is last: true"), 1) << source.name;
        const QByteArray result = readBytes(file);
        EXPECT_TRUE(result.mid(FLACTagWriter::metadataSize(result)) ==
                    source.bytes.mid(FLACTagWriter::metadataSize(source.bytes)))
            << source.name;
    }
}

// An old program, which reads nothing newer than 2.3, and of texts no more than Latin-1.
TEST(OtherReaders, includeAnOldOne) {
    const TemporaryFolder folder;
    const QByteArray texts =
        id3Frame(4, "TCON", hex("00") + "Rock") +
        id3Frame(4, "COMM", hex("00 656E67 00") + QByteArray("said ").repeated(40));
    const FileUrl file = folder.makeFile("a.mp3", id3Tag(4, texts) + musicOf("mp3 lame V2"));
    const ID3TagFields fields = coverEdit("jpg", 20, 10);
    ID3Writer::write(fields, file);
    const std::string list = outputOf("id3v2 -l FILE", file.path()).toStdString();
    EXPECT_THAT(list, HasSubstr("With a cover\n"));
    EXPECT_THAT(list, HasSubstr("Ein / Zwei\n"));
    EXPECT_THAT(list, HasSubstr("TYER (Year): 1999\n"));
    EXPECT_THAT(list, HasSubstr("Rock"));
    EXPECT_THAT(list, HasSubstr("said said said"));
    EXPECT_THAT(list,
                HasSubstr("image/jpeg, " + std::to_string(fields.artworkData->size()) + " bytes"));
}

}  // namespace
}  // namespace halvenor
