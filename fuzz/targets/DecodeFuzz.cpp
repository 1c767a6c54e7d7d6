// Any bytes as an audio file: refused with an error, or samples of one format whose number is
// bounded, and a seek that is possible wherever the length says so.
#include <algorithm>
#include <vector>

#include "base/Error.h"
#include "platform/decode/AudioFile.h"
#include "support/ScratchFile.h"

namespace {

constexpr int64_t blockFrames = 4096;
constexpr int mostBlocks = 64;  // Small files can stand for hours of sound.

void read(halvenor::AudioFile& file, std::vector<float>& block) {
    for (int i = 0; i < mostBlocks; ++i) {
        const int64_t count = file.read(block.data(), blockFrames);
        halvenor::fuzz::require(count >= 0 && count <= blockFrames, "no more frames than asked");
        if (count < blockFrames) {
            halvenor::fuzz::require(file.read(block.data(), blockFrames) == 0,
                                    "fewer frames than asked are the last");
            return;
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace halvenor;
    static const FileUrl url = fuzz::scratchFile("music");
    fuzz::fill(url, fuzz::bytesOf(data, size));
    try {
        const auto file = AudioFile::open(url);
        const AudioFormat format = file->processingFormat();
        fuzz::require(format.channels > 0 && format.sampleRate > 0, "there is a format");
        fuzz::require(file->length() >= 0, "lengths are lengths");
        std::vector<float> block(static_cast<size_t>(blockFrames * format.channels));
        read(*file, block);
        file->seek(file->length() / 2);
        read(*file, block);
    } catch (const Error&) {
        return 0;
    }
    return 0;
}
