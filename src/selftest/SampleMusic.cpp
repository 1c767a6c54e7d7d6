#include "selftest/SampleMusic.h"

#include <array>
#include <cerrno>
#include <cmath>
#include <numbers>
#include <sys/stat.h>

#include "base/Error.h"
#include "selftest/audiowriter/AudioWriter.h"

namespace halvenor {

namespace {

constexpr int sampleRate = 44100;
constexpr int channels = 2;
// Odd on purpose: no format's block ends where a track does.
constexpr std::array trackFrames = {44101, 30011, 52919};

struct Kind {
    std::string_view extension;
    AudioFileType type;
};
constexpr std::array kinds = {
    Kind{"flac", AudioFileType::flac16}, Kind{"wav", AudioFileType::wave16},
    Kind{"m4a", AudioFileType::alac16},  Kind{"mp3", AudioFileType::mp3},
    Kind{"ogg", AudioFileType::vorbis},
};

AudioFileType typeOf(std::string_view extension) {
    for (const Kind& kind : kinds) {
        if (kind.extension == extension) {
            return kind.type;
        }
    }
    throw Error(ErrorKind::unsupported, QStringLiteral("No sample music of this kind is made."));
}

// A quiet tone whose pitch rises slowly, as if the folder were one recording.
std::vector<float> risingTone(int frames, double& phase, double& hertz) {
    std::vector<float> samples;
    samples.reserve(static_cast<size_t>(frames) * channels);
    for (int frame = 0; frame < frames; ++frame) {
        const auto sample = static_cast<float>(0.1 * std::sin(phase));
        samples.insert(samples.end(), channels, sample);
        phase += 2 * std::numbers::pi * hertz / sampleRate;
        hertz += 0.001;
    }
    return samples;
}

void makeFolder(const FileUrl& url) {
    if (mkdir(url.path().constData(), 0700) != 0 && errno != EEXIST) {
        throw Error::fromErrno(errno);
    }
}

}  // namespace

std::span<const SampleFolder> sampleFolders() {
    static const std::array folders = {
        SampleFolder{"First Folder", {"flac", "wav", "m4a"}},
        SampleFolder{"Second Folder", {"mp3", "ogg", "flac"}},
    };
    return folders;
}

QList<QByteArray> writeSampleMusic(const FileUrl& music) {
    makeFolder(music);
    QList<QByteArray> files;
    for (const SampleFolder& folder : sampleFolders()) {
        const FileUrl place = music.appendingPathComponent(folder.name);
        makeFolder(place);
        double phase = 0;
        double hertz = 220;
        for (size_t i = 0; i < folder.extensions.size(); ++i) {
            AudioFileTags tags;
            tags.title = QStringLiteral("Tone %1").arg(i + 1);
            tags.artist = QStringLiteral("Halvenor");
            tags.album = QString::fromUtf8(folder.name);
            tags.track = static_cast<int>(i) + 1;
            const QByteArray name = "Tone " + QByteArray::number(static_cast<int>(i) + 1) + "." +
                                    QByteArray(folder.extensions[i].data(),
                                               static_cast<qsizetype>(folder.extensions[i].size()));
            writeAudioFile(place.appendingPathComponent(name), typeOf(folder.extensions[i]),
                           risingTone(trackFrames.at(i), phase, hertz), sampleRate, channels, tags);
            files.append(folder.name + "/" + name);
        }
    }
    return files;
}

}  // namespace halvenor
