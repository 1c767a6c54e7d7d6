#pragma once

#include <QFile>

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <vector>

#include "platform/decode/AudioFile.h"
#include "platform/decode/StreamInfo.h"
#include "support/MediaLibrary.h"
#include "support/Programs.h"
#include "support/Samples.h"

namespace halvenor::test {

/// The name of a kind among those of parameterised tests.
inline std::string caseName(const testing::TestParamInfo<MediaKind>& info) {
    std::string name = info.param.name;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
}

/// A file of the test's own.
inline FileUrl written(const QByteArray& name, const QByteArray& bytes) {
    const FileUrl url = MediaLibrary::shared().place(name);
    writeBytes(url, bytes);
    return url;
}

/// Reads up to `frames` frames from where the file stands.
inline std::vector<float> readFrames(AudioFile& file, int64_t frames) {
    const auto channels = static_cast<size_t>(file.processingFormat().channels);
    std::vector<float> samples(static_cast<size_t>(frames) * channels);
    const int64_t got = file.read(samples.data(), frames);
    samples.resize(static_cast<size_t>(got) * channels);
    return samples;
}

/// Reads to the end in steps of odd size.
inline std::vector<float> readAll(AudioFile& file, int64_t step = 3001) {
    std::vector<float> all;
    while (true) {
        const std::vector<float> piece = readFrames(file, step);
        if (piece.empty()) {
            return all;
        }
        all.insert(all.end(), piece.begin(), piece.end());
    }
}

inline std::vector<float> decodeAll(const FileUrl& url) {
    return readAll(*AudioFile::open(url));
}

/// Root of the mean square of the difference, as a share of that of `wanted`, over all samples
/// that both have. Below 0.2 for any codec at ordinary bit rates; about 1.4 when shifted.
inline double relativeError(const std::vector<float>& got, const std::vector<float>& wanted) {
    double difference = 0;
    double power = 1e-12;
    for (size_t i = 0; i < std::min(got.size(), wanted.size()); ++i) {
        difference += std::pow(double(got[i]) - wanted[i], 2);
        power += std::pow(double(wanted[i]), 2);
    }
    return std::sqrt(difference / power);
}

}  // namespace halvenor::test
