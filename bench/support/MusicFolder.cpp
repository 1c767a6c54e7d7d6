#include "support/MusicFolder.h"

#include <cstdio>
#include <fstream>
#include <random>
#include <stdexcept>
#include <unistd.h>

namespace halvenor::bench {

namespace {

QByteArray number(uint32_t value, int bytes) {
    QByteArray result;
    for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8) {
        result.append(static_cast<char>(value >> shift & 0xff));
    }
    return result;
}

QByteArray littleEndian(uint32_t value) {
    QByteArray result = number(value, 4);
    std::reverse(result.begin(), result.end());
    return result;
}

uint32_t sizeOf(const QByteArray& bytes) {
    return static_cast<uint32_t>(bytes.size());
}

struct Tags {
    QByteArray title, artist, album, albumArtist, year, genre, track, cover;
};

QByteArray frame(const char* identifier, const QByteArray& payload) {
    return identifier + number(sizeOf(payload), 4) + QByteArray(2, '\0') + payload;
}

QByteArray textFrame(const char* identifier, const QByteArray& text) {
    QByteArray payload("\x01\xff\xfe");
    for (const char letter : text) {
        payload.append(letter).append('\0');
    }
    return frame(identifier, payload);
}

// ID3v2.3 and frames of silence.
QByteArray mp3(const Tags& tags, int audioBytes) {
    const QByteArray frames = textFrame("TIT2", tags.title) + textFrame("TPE1", tags.artist) +
                              textFrame("TALB", tags.album) + textFrame("TPE2", tags.albumArtist) +
                              textFrame("TYER", tags.year) + textFrame("TCON", tags.genre) +
                              textFrame("TRCK", tags.track) +
                              frame("APIC", QByteArray("\0image/jpeg\0\3\0", 14) + tags.cover);
    QByteArray size;
    for (int shift = 21; shift >= 0; shift -= 7) {
        size.append(static_cast<char>(frames.size() >> shift & 0x7f));
    }
    const QByteArray silence = QByteArray("\xff\xfb\x90\x64").leftJustified(417, '\0');
    return QByteArray("ID3\3\0\0", 6) + size + frames + silence.repeated(audioBytes / 417);
}

QByteArray block(int type, const QByteArray& payload) {
    return static_cast<char>(type) + number(sizeOf(payload), 3) + payload;
}

// The metadata blocks of a FLAC file of one second; what follows is never looked at.
QByteArray flac(const Tags& tags, int audioBytes) {
    const QByteArray streamInfo = number(4096, 2) + number(4096, 2) + number(0, 3) + number(0, 3) +
                                  number(44100u << 12 | 1u << 9 | 15u << 4, 4) + number(44100, 4) +
                                  QByteArray(16, '\0');
    QByteArray comments = littleEndian(5) + "bench" + littleEndian(7);
    for (const QByteArray& comment :
         {"TITLE=" + tags.title, "ARTIST=" + tags.artist, "ALBUM=" + tags.album,
          "ALBUMARTIST=" + tags.albumArtist, "DATE=" + tags.year, "GENRE=" + tags.genre,
          "TRACKNUMBER=" + tags.track}) {
        comments += littleEndian(sizeOf(comment)) + comment;
    }
    const QByteArray picture = number(3, 4) + number(10, 4) + "image/jpeg" +
                               QByteArray(4 + 4 + 4, '\0') + number(24, 4) + number(0, 4) +
                               number(sizeOf(tags.cover), 4) + tags.cover;
    return "fLaC" + block(0, streamInfo) + block(4, comments) + block(6, picture) +
           block(0x81, QByteArray(4096, '\0')) + QByteArray(audioBytes, '\x55');
}

QByteArray makeCover(int album, int size) {
    std::minstd_rand random(static_cast<unsigned>(album) + 1);
    QByteArray cover(size, Qt::Uninitialized);
    for (char& byte : cover) {
        byte = static_cast<char>(random() >> 8);
    }
    return cover;
}

}  // namespace

MusicFolder::MusicFolder(int tracks, int coverBytes, int audioBytes) {
    QByteArray cover;
    for (int i = 0; i < tracks; ++i) {
        const int album = i / tracksPerAlbum;
        if (i % tracksPerAlbum == 0) {
            cover = makeCover(album, coverBytes);
        }
        const QByteArray albumName = QByteArray::number(album);
        const QByteArray name = QByteArray::number(i).rightJustified(5, '0');
        const Tags tags{"Title " + name,
                        "Artist " + QByteArray::number(album % 70),
                        "Album " + albumName,
                        "Album artist " + albumName,
                        QByteArray::number(1950 + album % 70),
                        "Rock",
                        QByteArray::number(i % tracksPerAlbum + 1) + "/20",
                        cover};
        const bool isFlac = i % 2 == 1;
        const FileUrl file = url().appendingPathComponent(name + (isFlac ? ".flac" : ".mp3"));
        const QByteArray contents = isFlac ? flac(tags, audioBytes) : mp3(tags, audioBytes);
        std::ofstream stream(file.path().constData(), std::ios::binary);
        if (!stream.write(contents.constData(), contents.size()).flush()) {
            throw std::runtime_error("cannot make the files to measure with");
        }
        files_.append(file);
    }
}

int64_t residentBytes() {
    long total = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return static_cast<int64_t>(resident) * ::sysconf(_SC_PAGESIZE);
}

}  // namespace halvenor::bench
