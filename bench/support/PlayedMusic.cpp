#include "support/PlayedMusic.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <sys/resource.h>
#include <vector>

#include "platform/decode/AudioFile.h"
#include "selftest/audiowriter/AudioWriter.h"

namespace halvenor::bench {

namespace {

double decodeOnce(const FileUrl& url) {
    constexpr int64_t blockFrames = 8192;
    const double before = usedSoFar().seconds;
    const auto file = AudioFile::open(url);
    std::vector<float> samples(
        static_cast<size_t>(blockFrames * file->processingFormat().channels));
    while (file->read(samples.data(), blockFrames) > 0) {
    }
    return usedSoFar().seconds - before;
}

}  // namespace

Usage usedSoFar() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](timeval time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return {seconds(usage.ru_utime) + seconds(usage.ru_stime), usage.ru_nvcsw};
}

FileUrl writeMusic(const FileUrl& folder, int seconds, MusicKind kind) {
    std::minstd_rand random(1);
    std::uniform_real_distribution<float> noise(-0.02F, 0.02F);
    std::vector<float> samples;
    for (int i = 0; i < seconds * 44100; ++i) {
        const auto tone = static_cast<float>(0.4 * std::sin(i * 0.03 + 2e-7 * i * double(i)));
        samples.push_back(tone + noise(random));
        samples.push_back(tone * 0.7F + noise(random));
    }
    const bool isFlac = kind == MusicKind::flac;
    const FileUrl url = folder.appendingPathComponent(isFlac ? "music.flac" : "music.mp3");
    AudioFileTags tags;
    tags.title = QStringLiteral("Measured Music");
    writeAudioFile(url, isFlac ? AudioFileType::flac16 : AudioFileType::mp3, samples, 44100, 2,
                   tags);
    return url;
}

double secondsToDecode(const FileUrl& file) {
    decodeOnce(file);
    double best = std::numeric_limits<double>::max();
    for (int i = 0; i < 3; ++i) {
        best = std::min(best, decodeOnce(file));
    }
    return best;
}

}  // namespace halvenor::bench
