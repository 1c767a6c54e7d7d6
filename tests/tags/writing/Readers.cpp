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
    SeenTags seen{text("TITLE"),
                  text("ARTIST"),
                  text("ALBUM"),
                  text("ALBUMARTIST"),
                  text("DATE"),
                  text("GENRE"),
                  text("COMMENT"),
                  {},
                  {}};
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
        outputOf(QStringLiteral("ffprobe -v error -of json -show_format -show_streams")
                     .split(QLatin1Char(' ')),
                 url);
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
    SeenTags seen{text("title"),
                  text("artist"),
                  text("album"),
                  text("album_artist"),
                  text("date"),
                  text("genre"),
                  text("comment"),
                  {},
                  {}};
    for (const QJsonValue& value : root[u"streams"].toArray()) {
        const QString codec = value[u"codec_name"].toString();
        if (value[u"codec_type"].toString() == u"video" && seen.cover.isEmpty()) {
            seen.coverType = codec == u"png" ? "image/png" : "image/jpeg";
            seen.cover = runProgram(
                {QStringLiteral("ffmpeg"), QStringLiteral("-v"), QStringLiteral("error"),
                 QStringLiteral("-i"), QFile::decodeName(url.path()), QStringLiteral("-map"),
                 QStringLiteral("0:v:0"), QStringLiteral("-c"), QStringLiteral("copy"),
                 QStringLiteral("-f"), QStringLiteral("image2pipe"), QStringLiteral("-")});
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
for ours, theirs in zip(["title", "artist", "album", "albumArtist", "date", "genre", "comment"], names):
    seen[ours] = get(theirs)
if not seen["date"] and not path.endswith(".flac"):
    seen["date"] = get("TDRC")
assert file.info.length > 0
if picture:
    assert picture.type == 3, picture.type
    seen["coverType"] = picture.mime
    seen["cover"] = base64.b64encode(picture.data).decode()
print(json.dumps(seen))
)";

SeenTags mutagen(const FileUrl& url) {
    const QByteArray json = outputOf({QStringLiteral("/usr/bin/python3"), QStringLiteral("-c"),
                                      QString::fromUtf8(mutagenScript)},
                                     url);
    const QJsonObject seen = QJsonDocument::fromJson(json).object();
    const auto text = [&seen](const char* key) {
        return seen[QLatin1String(key)].toString().toStdString();
    };
    return {text("title"),
            text("artist"),
            text("album"),
            text("albumArtist"),
            text("date"),
            text("genre"),
            text("comment"),
            text("coverType"),
            QByteArray::fromBase64(QByteArray::fromStdString(text("cover")))};
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
    return runProgram({QStringLiteral("ffmpeg"), QStringLiteral("-v"), QStringLiteral("error"),
                       QStringLiteral("-xerror"), QStringLiteral("-i"),
                       QFile::decodeName(file.path()), QStringLiteral("-map"),
                       QStringLiteral("0:a:0"), QStringLiteral("-f"), QStringLiteral("s32le"),
                       QStringLiteral("-")});
}

QByteArray outputOf(const QStringList& command, const FileUrl& file) {
    return runProgram(command + QStringList{QFile::decodeName(file.path())});
}

QByteArray makeImage(const char* extension, int width, int height) {
    const FileUrl file = MediaLibrary::shared().place(QByteArray("image.") + extension);
    const QString size = QStringLiteral("testsrc=size=%1x%2").arg(width).arg(height);
    runProgram({QStringLiteral("ffmpeg"), QStringLiteral("-v"), QStringLiteral("error"),
                QStringLiteral("-y"), QStringLiteral("-f"), QStringLiteral("lavfi"),
                QStringLiteral("-i"), size, QStringLiteral("-frames:v"), QStringLiteral("1"),
                QFile::decodeName(file.path())});
    return readBytes(file);
}

}  // namespace halvenor::test
