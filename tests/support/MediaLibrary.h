#pragma once

#include <QTemporaryDir>

#include <cstdint>
#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "base/FileUrl.h"

namespace halvenor::test {

/// Sound to encode: interleaved samples that are whole 16-bit integers, so lossless kinds hold
/// them exactly.
struct Signal {
    std::vector<float> samples;
    int sampleRate = 44100;
    int channels = 2;

    int64_t frames() const { return static_cast<int64_t>(samples.size()) / channels; }
    /// `count` frames from `begin`.
    Signal part(int64_t begin, int64_t count) const;
};

/// A sweep with noise over it: no two places alike, so a shifted or repeated stretch shows.
Signal makeSignal(int64_t frames, int sampleRate = 44100, int channels = 2, int seed = 1);

/// A way to make a file of a signal: which encoder, what it can keep.
struct MediaKind {
    std::string name;  ///< "mp3 lame -V2"; unique
    std::string extension;
    bool isLossless = false;   ///< decodes to the very samples
    bool isLengthKept = true;  ///< the true length can be told from the file
    bool isSeekExact = true;   ///< decoding is repeatable to the last bit from anywhere
    int outputRate = 0;        ///< where the codec has a rate of its own; 0: the signal's
    std::function<void(const FileUrl&, const Signal&)> write;
};

/// Shows a kind in the messages of parameterised tests.
void PrintTo(const MediaKind& kind, std::ostream* out);

/// Every kind: our own writer's types, and other encoders where they differ (LAME, oggenc, flac,
/// ffmpeg).
const std::vector<MediaKind>& mediaKinds();
const MediaKind& mediaKind(const std::string& name);

/// Files made when first asked for, in a folder that goes with the process.
class MediaLibrary {
  public:
    static MediaLibrary& shared();

    /// The file of `kind` with makeSignal(frames, sampleRate, channels).
    FileUrl file(const std::string& kind, int64_t frames, int sampleRate = 44100, int channels = 2);
    /// A path in the folder for a file of the test's own.
    FileUrl place(const QByteArray& name) const;

  private:
    QTemporaryDir folder_;
    std::map<std::string, FileUrl> made_;
};

/// @name Whole files. They fail the test, and throw, when they can't.
/// @{
QByteArray readBytes(const FileUrl& url);
void writeBytes(const FileUrl& url, const QByteArray& bytes);
/// @}

}  // namespace halvenor::test
