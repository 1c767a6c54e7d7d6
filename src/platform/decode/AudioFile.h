#pragma once

#include <cstdint>
#include <memory>

#include "base/FileUrl.h"
#include "platform/decode/AudioFormat.h"

namespace halvenor {

/// An audio file open for reading: decoded samples by frame number, sample-exact.
///
/// Frame 0 is the first frame that the encoder was given: encoder delay and padding are cut away
/// (LAME/Xing tag, MP4 edit list or iTunSMPB, Vorbis granule positions). The format never changes
/// within a file: where the stream changes its rate or channels, the samples are converted to the
/// format it began with. One thread at a time, any thread.
class AudioFile {
  public:
    /// Opens by content, not by name. Cheap: headers are read, nothing is decoded or indexed.
    /// @throws Error (io, format or unsupported)
    static std::shared_ptr<AudioFile> open(const FileUrl& url);

    /// Loads what the first open() would have to load, which takes some 30 ms. Any thread: called
    /// ahead on one that may wait, it spares the main thread that time.
    /// @throws Error (unavailable)
    static void prepare();

    virtual ~AudioFile() = default;

    virtual AudioFormat processingFormat() const = 0;
    /// Length in frames. An estimate where the file tells no exact length; read() then goes on to
    /// the true end, before or after it.
    virtual int64_t length() const = 0;
    /// Whether length() is the file's own word and no estimate. A file that is cut short ends
    /// before it all the same.
    virtual bool isLengthExact() const = 0;
    /// Whether reading after a seek gives the samples of reading straight through to the last bit,
    /// so that stretches of the file may be decoded side by side. The codecs that fill in noise of
    /// their own (AAC) or predict without end (Opus) do not promise it, nor do converted streams.
    virtual bool isSeekExact() const = 0;
    /// The next read() begins at `frame` (0...length). Samples are the same as those of reading
    /// straight through. A place past the end makes the next read() give 0.
    virtual void seek(int64_t frame) = 0;
    /// Decodes up to `frames` frames into `samples` (interleaved, room for frames × channels).
    /// @return frames given; fewer than asked only at the end, 0 from there on. Damage inside the
    /// file is passed over, with silence for what is missing where the container tells times (all
    /// but bare MP3 and AAC frames); an unreadable rest is the end.
    virtual int64_t read(float* samples, int64_t frames) = 0;
};

}  // namespace halvenor
