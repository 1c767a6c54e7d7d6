// halvenor-decode FILE [--raw]: what the decoder makes of a file. Prints its format, length and
// data rate; with --raw, writes the samples as native 32-bit floats to standard output instead.
#include <cstdio>
#include <cstring>
#include <vector>

#include "base/Error.h"
#include "platform/decode/AudioFile.h"
#include "platform/decode/StreamInfo.h"

using namespace halvenor;

namespace {

/// @return frames decoded
int64_t decodeAll(AudioFile& file, FILE* out) {
    constexpr int64_t frames = 4096;
    const auto channels = static_cast<size_t>(file.processingFormat().channels);
    std::vector<float> samples(frames * channels);
    int64_t total = 0;
    while (const int64_t got = file.read(samples.data(), frames)) {
        total += got;
        if (out != nullptr) {
            std::fwrite(samples.data(), sizeof(float) * channels, static_cast<size_t>(got), out);
        }
    }
    return total;
}

int run(const char* path, bool isRaw) {
    const FileUrl url{QByteArray(path)};
    const auto file = AudioFile::open(url);
    const int64_t decoded = decodeAll(*file, isRaw ? stdout : nullptr);
    if (isRaw) {
        return 0;
    }
    const auto info = readStreamInfo(url);
    std::printf("%d Hz, %d channels, %lld frames (%s), %lld decoded, %.0f bit/s\n",
                file->processingFormat().sampleRate, file->processingFormat().channels,
                static_cast<long long>(file->length()),
                info && info->isExact ? "exact" : "estimate", static_cast<long long>(decoded),
                info ? info->dataRate : 0.0);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: halvenor-decode FILE [--raw]\n");
        return 2;
    }
    try {
        return run(argv[1], argc == 3 && std::strcmp(argv[2], "--raw") == 0);
    } catch (const Error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
