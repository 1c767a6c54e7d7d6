#include "BareReading.h"

#include <taglib/attachedpictureframe.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2framefactory.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/xiphcomment.h>

namespace halvenor::bench {

namespace {

QString toQString(const TagLib::String& text) {
    return QString::fromStdString(text.to8Bit(true));
}

void takeCommon(const TagLib::File& file, BareTrack& track) {
    const TagLib::Tag& tag = *file.tag();
    track.title = toQString(tag.title());
    track.artist = toQString(tag.artist());
    track.album = toQString(tag.album());
    track.genre = toQString(tag.genre());
    track.year = tag.year();
    track.track = tag.track();
    const TagLib::AudioProperties& properties = *file.audioProperties();
    track.milliseconds = properties.lengthInMilliseconds();
    track.bitrate = properties.bitrate();
    track.sampleRate = properties.sampleRate();
}

BareTrack readMp3(const FileUrl& url) {
    TagLib::MPEG::File file(url.path().constData());
    BareTrack track;
    takeCommon(file, track);
    const TagLib::ID3v2::FrameListMap& frames = file.ID3v2Tag()->frameListMap();
    track.albumArtist = toQString(frames["TPE2"].front()->toString());
    const auto* picture =
        static_cast<const TagLib::ID3v2::AttachedPictureFrame*>(frames["APIC"].front());
    track.coverBytes = picture->picture().size();
    return track;
}

BareTrack readFlac(const FileUrl& url) {
    TagLib::FLAC::File file(url.path().constData());
    BareTrack track;
    takeCommon(file, track);
    track.albumArtist = toQString(file.xiphComment()->fieldListMap()["ALBUMARTIST"].front());
    track.coverBytes = file.pictureList().front()->data().size();
    return track;
}

}  // namespace

std::vector<BareTrack> readBare(const QList<FileUrl>& files) {
    std::vector<BareTrack> tracks;
    tracks.reserve(static_cast<size_t>(files.size()));
    for (const FileUrl& url : files) {
        tracks.push_back(url.pathExtension() == "mp3" ? readMp3(url) : readFlac(url));
    }
    return tracks;
}

}  // namespace halvenor::bench
