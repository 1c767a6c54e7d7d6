#include "support/MemoryFile.h"

#include <algorithm>
#include <random>

#include "base/Error.h"

namespace halvenor::test {

MemoryFile::MemoryFile(AudioFormat format, std::vector<float> samples)
    : format_(format), samples_(std::move(samples)) {}

void MemoryFile::seek(int64_t frame) {
    at_ = std::clamp<int64_t>(frame, 0, frames());
}

int64_t MemoryFile::read(float* samples, int64_t count) {
    const int64_t end = failsAt.value_or(frames());
    if (failsAt && at_ >= end) {
        throw Error(ErrorKind::io, QStringLiteral("The file can't be read."));
    }
    const int64_t given = std::min(count, end - at_);
    std::copy_n(samples_.begin() + at_ * format_.channels, given * format_.channels, samples);
    at_ += given;
    framesRead += given;
    return given;
}

std::shared_ptr<MemoryFile> makeNoise(AudioFormat format, int64_t frames, unsigned seed) {
    std::minstd_rand random(seed * 7919 + 1);
    std::vector<float> samples(frames * format.channels);
    for (float& sample : samples) {
        sample = static_cast<float>(random() % 65536) / 65536.0F - 0.5F;
    }
    return std::make_shared<MemoryFile>(format, std::move(samples));
}

std::vector<float> concatenation(const std::vector<std::shared_ptr<MemoryFile>>& files) {
    std::vector<float> all;
    for (const auto& file : files) {
        all.insert(all.end(), file->samples().begin(), file->samples().end());
    }
    return all;
}

}  // namespace halvenor::test
