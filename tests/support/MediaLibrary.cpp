#include "support/MediaLibrary.h"

#include <QFile>

#include <cmath>
#include <numbers>
#include <random>
#include <stdexcept>

#include "selftest/audiowriter/AudioWriter.h"
#include "support/Programs.h"

namespace halvenor::test {

namespace {

/// Writes a WAVE file beside `url` and runs `commandLine`, in which "IN" and "OUT" stand for paths.
void encodeWith(const FileUrl& url, const Signal& signal, QStringList commandLine) {
    const FileUrl wave(url.path() + ".source.wav");
    writeAudioFile(wave, AudioFileType::wave16, signal.samples, signal.sampleRate, signal.channels);
    commandLine.replaceInStrings(QStringLiteral("IN"), QFile::decodeName(wave.path()));
    commandLine.replaceInStrings(QStringLiteral("OUT"), QFile::decodeName(url.path()));
    runProgram(commandLine);
    QFile::remove(QFile::decodeName(wave.path()));
}

MediaKind own(std::string name, std::string extension, AudioFileType type) {
    MediaKind kind;
    kind.name = std::move(name);
    kind.extension = std::move(extension);
    kind.write = [type](const FileUrl& url, const Signal& signal) {
        AudioFileTags tags;
        tags.title = QStringLiteral("A title");
        writeAudioFile(url, type, signal.samples, signal.sampleRate, signal.channels, tags);
    };
    return kind;
}

MediaKind foreign(std::string name, std::string extension, const char* commandLine) {
    MediaKind kind;
    kind.name = std::move(name);
    kind.extension = std::move(extension);
    kind.write = [commandLine](const FileUrl& url, const Signal& signal) {
        encodeWith(url, signal, QString::fromLatin1(commandLine).split(QLatin1Char(' ')));
    };
    return kind;
}

MediaKind lossless(MediaKind kind) {
    kind.isLossless = true;
    return kind;
}

MediaKind lengthless(MediaKind kind) {
    kind.isLengthKept = false;
    return kind;
}

MediaKind opus(MediaKind kind) {
    kind.outputRate = 48000;
    kind.isLengthKept = false;  // To the nearest frame of another rate.
    kind.isSeekExact = false;
    return kind;
}

MediaKind slow(MediaKind kind) {
    kind.outputRate = 22050;
    kind.isLengthKept = false;
    return kind;
}

std::vector<MediaKind> makeKinds() {
    return {
        lossless(own("wav s16", "wav", AudioFileType::wave16)),
        lossless(own("wav f32", "wav", AudioFileType::waveFloat)),
        lossless(own("aiff", "aiff", AudioFileType::aiff16)),
        lossless(own("flac 16", "flac", AudioFileType::flac16)),
        lossless(own("flac 24", "flac", AudioFileType::flac24)),
        lossless(own("alac", "m4a", AudioFileType::alac16)),
        own("aac mp4", "m4a", AudioFileType::aacMp4),
        lengthless(own("aac adts", "aac", AudioFileType::aacAdts)),
        own("mp3", "mp3", AudioFileType::mp3),
        own("vorbis", "ogg", AudioFileType::vorbis),
        opus(foreign("opus", "ogg", "ffmpeg -v error -y -i IN -c:a libopus -f ogg OUT")),
        foreign("mp3 lame V2", "mp3", "lame --quiet -V2 IN OUT"),
        foreign("mp3 lame 128", "mp3", "lame --quiet --cbr -b 128 IN OUT"),
        slow(foreign("mp3 lame mono 8", "mp3",
                     "lame --quiet --cbr -b 8 --resample 22.05 -m m IN OUT")),
        lengthless(foreign("mp3 lame untagged", "mp3", "lame --quiet -t --cbr -b 128 IN OUT")),
        lengthless(foreign("mp3 lame untagged V5", "mp3", "lame --quiet -t -V5 IN OUT")),
        lengthless(foreign("mp2", "mp3", "ffmpeg -v error -y -i IN -c:a mp2 -f mp2 OUT")),
        foreign("ogg oggenc", "ogg", "oggenc -Q -q 5 -o OUT IN"),
        lossless(foreign("flac seektable", "flac", "flac -s -f -S 1s -o OUT IN")),
        lossless(foreign("flac in ogg", "ogg", "ffmpeg -v error -y -i IN -c:a flac -f ogg OUT")),
        lossless(foreign("wav s24 extensible", "wav",
                         "ffmpeg -v error -y -i IN -c:a pcm_s24le -f wav OUT")),
        lossless(foreign("wav rf64", "wav", "ffmpeg -v error -y -i IN -rf64 always -f wav OUT")),
        lossless(
            foreign("aifc sowt", "aif", "ffmpeg -v error -y -i IN -c:a pcm_s16le -f aiff OUT")),
        lossless(foreign("aifc f32", "aif", "ffmpeg -v error -y -i IN -c:a pcm_f32be -f aiff OUT")),
        lossless(foreign("mp4 faststart alac", "alac",
                         "ffmpeg -v error -y -i IN -c:a alac -movflags +faststart -f ipod OUT")),
    };
}

}  // namespace

void PrintTo(const MediaKind& kind, std::ostream* out) {
    *out << kind.name;
}

Signal Signal::part(int64_t begin, int64_t count) const {
    Signal result{{}, sampleRate, channels};
    const auto from = samples.begin() + begin * channels;
    result.samples.assign(from, from + count * channels);
    return result;
}

Signal makeSignal(int64_t frames, int sampleRate, int channels, int seed) {
    Signal signal{{}, sampleRate, channels};
    signal.samples.reserve(static_cast<size_t>(frames * channels));
    std::minstd_rand random(static_cast<unsigned>(seed));
    std::uniform_real_distribution<double> noise(-0.03, 0.03);
    double phase = 0;
    for (int64_t i = 0; i < frames; ++i) {
        const double seconds = double(i) / sampleRate;
        phase +=
            2 * std::numbers::pi * (150 + 400 * std::fmod(seconds + 0.37 * seed, 7.0)) / sampleRate;
        for (int channel = 0; channel < channels; ++channel) {
            const double value = 0.4 * std::sin(phase * (1 + 0.25 * channel)) + noise(random);
            signal.samples.push_back(static_cast<float>(std::nearbyint(value * 32768) / 32768));
        }
    }
    return signal;
}

const std::vector<MediaKind>& mediaKinds() {
    static const std::vector<MediaKind> kinds = makeKinds();
    return kinds;
}

const MediaKind& mediaKind(const std::string& name) {
    for (const MediaKind& kind : mediaKinds()) {
        if (kind.name == name) {
            return kind;
        }
    }
    throw std::invalid_argument("no media kind " + name);
}

MediaLibrary& MediaLibrary::shared() {
    static MediaLibrary library;
    return library;
}

FileUrl MediaLibrary::place(const QByteArray& name) const {
    return FileUrl(QFile::encodeName(folder_.path())).appendingPathComponent(name);
}

FileUrl MediaLibrary::file(const std::string& kindName, int64_t frames, int sampleRate,
                           int channels) {
    const MediaKind& kind = mediaKind(kindName);
    const std::string key = kindName + " " + std::to_string(frames) + " " +
                            std::to_string(sampleRate) + " " + std::to_string(channels);
    FileUrl& url = made_[key];
    if (url.isEmpty()) {
        const QByteArray name = QByteArray::number(made_.size()) + '.' + kind.extension.c_str();
        kind.write(place(name), makeSignal(frames, sampleRate, channels));
        url = place(name);
    }
    return url;
}

QByteArray readBytes(const FileUrl& url) {
    FILE* file = std::fopen(url.path().constData(), "rb");
    if (file == nullptr) {
        throw std::runtime_error("can't open " + url.path().toStdString());
    }
    QByteArray bytes;
    std::vector<char> piece(65536);
    while (const size_t got = std::fread(piece.data(), 1, piece.size(), file)) {
        bytes.append(piece.data(), static_cast<qsizetype>(got));
    }
    std::fclose(file);
    return bytes;
}

void writeBytes(const FileUrl& url, const QByteArray& bytes) {
    FILE* file = std::fopen(url.path().constData(), "wb");
    if (file == nullptr) {
        throw std::runtime_error("can't write " + url.path().toStdString());
    }
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), file);
    std::fclose(file);
}

}  // namespace halvenor::test
