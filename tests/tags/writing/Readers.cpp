#include "tags/writing/Readers.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>
#include <ostream>
#include <taglib/attachedpictureframe.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/tpropertymap.h>

#include "support/MediaLibrary.h"
#include "support/Programs.h"

namespace halvenor::test {

namespace {

// All but the cover. `text` gives what stands under a name, empty when it is not there.
template <class Text>
SeenTags seenTexts(const Text& text, const char* albumArtist) {
    SeenTags seen;
    seen.title = text("TITLE");
    seen.artist = text("ARTIST");
    seen.album = text("ALBUM");
    seen.albumArtist = text(albumArtist);
    seen.date = text("DATE");
    seen.genre = text("GENRE");
    seen.comment = text("COMMENT");
    return seen;
}

QByteArray bytesOf(const TagLib::ByteVector& bytes) {
    return QByteArray(bytes.data(), bytes.size());
}

void takeCover(TagLib::MPEG::File& file, SeenTags& seen) {
    const auto frames = file.ID3v2Tag()->frameList("APIC");
    if (!frames.isEmpty()) {
        const auto* picture = dynamic_cast<TagLib::ID3v2::AttachedPictureFrame*>(frames.front());
        seen.coverType = picture->mimeType().to8Bit(true);
        seen.cover = bytesOf(picture->picture());
    }
}

void takeCover(TagLib::FLAC::File& file, SeenTags& seen) {
    if (!file.pictureList().isEmpty()) {
        const auto* picture = file.pictureList().front();
        seen.coverType = picture->mimeType().to8Bit(true);
        seen.cover = bytesOf(picture->data());
    }
}

template <class File>
SeenTags seenByTagLib(File file) {
    EXPECT_TRUE(file.isValid());
    EXPECT_GT(file.audioProperties()->lengthInMilliseconds(), 0);
    const TagLib::PropertyMap properties = file.properties();
    const auto text = [&properties](const char* key) {
        return properties.contains(key) ? properties[key].toString("/").to8Bit(true)
                                        : std::string();
    };
    SeenTags seen = seenTexts(text, "ALBUMARTIST");
    takeCover(file, seen);
    return seen;
}

SeenTags tagLib(const FileUrl& url) {
    const char* path = url.path().constData();
    return url.pathExtension() == "flac" ? seenByTagLib(TagLib::FLAC::File(path))
                                         : seenByTagLib(TagLib::MPEG::File(path));
}

SeenTags ffprobe(const FileUrl& url) {
    const QByteArray json =
        outputOf("ffprobe -v error -of json -show_format -show_streams FILE", url.path());
    const QJsonObject root = QJsonDocument::fromJson(json).object();
    const QJsonObject tags = root[u"format"].toObject()[u"tags"].toObject();
    const auto text = [&tags](const char* key) {
        for (const QString& name : tags.keys()) {  // Vorbis comments keep their own case.
            if (name.compare(QLatin1String(key), Qt::CaseInsensitive) == 0) {
                return tags[name].toString().toStdString();
            }
        }
        return std::string();
    };
    SeenTags seen = seenTexts(text, "ALBUM_ARTIST");
    for (const QJsonValue& value : root[u"streams"].toArray()) {
        const QString codec = value[u"codec_name"].toString();
        if (value[u"codec_type"].toString() == u"video" && seen.cover.isEmpty()) {
            seen.coverType = codec == u"png" ? "image/png" : "image/jpeg";
            seen.cover =
                outputOf("ffmpeg -v error -i FILE -map 0:v:0 -c copy -f image2pipe -", url.path());
        }
    }
    return seen;
}

// Prints what mutagen reads as JSON; the cover in Base64.
constexpr char mutagenScript[] = R"(
import base64, json, sys
from mutagen.flac import FLAC
from mutagen.mp3 import MP3
path = sys.argv[1]
seen = {}
if path.endswith(".flac"):
    file = FLAC(path)
    get = lambda key: "/".join(file.get(key, []))
    names = ["title", "artist", "album", "albumartist", "date", "genre", "comment"]
    picture = file.pictures[0] if file.pictures else None
else:
    file = MP3(path, translate=False)
    assert file.tags.version[:2] == (2, 3), file.tags.version
    get = lambda key: "/".join("/".join(map(str, f.text)) for f in file.tags.getall(key))
    names = ["TIT2", "TPE1", "TALB", "TPE2", "TYER", "TCON", "COMM"]
    pictures = file.tags.getall("APIC")
    picture = pictures[0] if pictures else None
for ours, theirs in zip(["TITLE", "ARTIST", "ALBUM", "ALBUMARTIST", "DATE", "GENRE", "COMMENT"], names):
    seen[ours] = get(theirs)
if not seen["DATE"] and not path.endswith(".flac"):
    seen["DATE"] = get("TDRC")
assert file.info.length > 0
if picture:
    assert picture.type == 3, picture.type
    seen["coverType"] = picture.mime
    seen["cover"] = base64.b64encode(picture.data).decode()
print(json.dumps(seen))
)";

SeenTags mutagen(const FileUrl& url) {
    const QByteArray json =
        runProgram({QStringLiteral("/usr/bin/python3"), QStringLiteral("-c"),
                    QString::fromUtf8(mutagenScript), QFile::decodeName(url.path())});
    const QJsonObject seen = QJsonDocument::fromJson(json).object();
    const auto text = [&seen](const char* key) {
        return seen[QLatin1String(key)].toString().toStdString();
    };
    SeenTags tags = seenTexts(text, "ALBUMARTIST");
    tags.coverType = text("coverType");
    tags.cover = QByteArray::fromBase64(QByteArray::fromStdString(text("cover")));
    return tags;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const SeenTags& tags) {
    return out << '"' << tags.title << "\" \"" << tags.artist << "\" \"" << tags.album << "\" \""
               << tags.albumArtist << "\" \"" << tags.date << "\" \"" << tags.genre << "\" \""
               << tags.comment << "\" " << tags.coverType << ' ' << tags.cover.size() << " bytes";
}

const std::map<std::string, Reader>& readers() {
    static const std::map<std::string, Reader> all = {
        {"TagLib", &tagLib}, {"FFmpeg", &ffprobe}, {"mutagen", &mutagen}};
    return all;
}

QByteArray decodedAudio(const FileUrl& file) {
    return outputOf("ffmpeg -v error -xerror -i FILE -map 0:a:0 -f s32le -", file.path());
}

QByteArray makeImage(const char* extension, int width, int height) {
    const FileUrl file = MediaLibrary::shared().place(QByteArray("image.") + extension);
    const std::string size = std::to_string(width) + 'x' + std::to_string(height);
    const std::string command =
        "ffmpeg -v error -y -f lavfi -i testsrc=size=" + size + " -frames:v 1 FILE";
    outputOf(command.c_str(), file.path());
    return readBytes(file);
}

}  // namespace halvenor::test
