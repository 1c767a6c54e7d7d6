// Prints what the library makes of a file's tags: readtags FILE...
#include <QTextStream>

#include "tags/TagReading.h"

namespace {

template <class T>
QString shown(const std::optional<T>& value) {
    return value ? QStringLiteral("%1").arg(*value) : QStringLiteral("-");
}

}  // namespace

int main(int argc, char** argv) {
    QTextStream out(stdout);
    for (int i = 1; i < argc; ++i) {
        const halvenor::Track track = halvenor::readTrack(halvenor::FileUrl(QByteArray(argv[i])));
        out << "file:         " << halvenor::displayText(track.id()) << '\n'
            << "title:        " << track.title() << '\n'
            << "artist:       " << track.artist() << '\n'
            << "album:        " << track.album() << '\n'
            << "album artist: " << track.albumArtist() << '\n'
            << "year:         " << shown(track.year()) << '\n'
            << "genre:        " << shown(track.genre()) << '\n'
            << "track:        " << shown(track.trackNumber()) << '\n'
            << "duration:     " << QString::number(track.duration(), 'f', 6) << " s\n"
            << "bitrate:      " << shown(track.bitrate()) << " kbit/s\n"
            << "sample rate:  " << shown(track.sampleRate()) << " Hz\n"
            << "format:       " << track.format() << '\n'
            << "size:         " << track.fileSize() << " bytes\n"
            << "artwork:      " << track.artworkData().bytes().size() << " bytes\n\n";
    }
    return argc > 1 ? 0 : 1;
}
