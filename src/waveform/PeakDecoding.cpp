// How a file is decoded by several threads at once, and yet gives what one would have given.
//
// The file is cut into sections, each decoded by a decoder of its own after a seek. Those seeks are
// exact for sound files of the codecs that promise it; damage may make them less so. So each
// section is decoded a little beyond its end, and what comes must be the first frames of the next,
// bit for bit: then the two decoders are in the same state, and go on alike. If any join does not
// match, the sections are thrown away and the file is decoded straight through.
#include "waveform/PeakDecoding.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <string_view>
#include <thread>
#include <vector>

#include "base/Error.h"
#include "base/Task.h"
#include "waveform/PeakBuckets.h"

namespace halvenor {

namespace {

/// Frames decoded at once: small enough for the caches, and a stop is seen after each.
constexpr int64_t blockFrames = 8192;
/// Sections shorter than this are not worth their seek.
constexpr int64_t leastSectionSeconds = 20;
/// More sections than threads, as the threads may get different shares of the processor.
constexpr int64_t sectionsPerThread = 4;
constexpr int64_t toTheEnd = std::numeric_limits<int64_t>::max();

/// A file and the block that is read from it.
class BlockReader {
  public:
    explicit BlockReader(std::shared_ptr<AudioFile> file)
        : file_(std::move(file)),
          channels_(file_->processingFormat().channels),
          block_(static_cast<size_t>(blockFrames * channels_)) {}

    void seek(int64_t frame) { file_->seek(frame); }
    /// Reads up to a block. What can't be read is the end.
    int64_t read(int64_t frames) {
        try {
            return file_->read(block_.data(), std::min(frames, blockFrames));
        } catch (const Error&) {
            return 0;
        }
    }
    int channels() const { return channels_; }
    const float* samples() const { return block_.data(); }
    /// A hash of the first `frames` frames of the block, 64 bits of it.
    size_t fingerprint(int64_t frames) const {
        const size_t bytes = static_cast<size_t>(frames * channels_) * sizeof(float);
        return std::hash<std::string_view>()({reinterpret_cast<const char*>(samples()), bytes});
    }

  private:
    std::shared_ptr<AudioFile> file_;
    int channels_;
    std::vector<float> block_;
};

/// Decodes straight through from the file's beginning. @return frames there were
int64_t addAll(BlockReader& reader, PeakBuckets& buckets, const std::stop_token& stop) {
    reader.seek(0);
    int64_t at = 0;
    while (const int64_t got = reader.read(blockFrames)) {
        buckets.add(reader.samples(), at, got, reader.channels());
        at += got;
        if (stop.stop_requested()) {
            throw Cancelled();
        }
    }
    return at;
}

struct Section {
    int64_t begin = 0;
    int64_t end = 0;  ///< toTheEnd: the last one
    int64_t given = 0;
    size_t head = 0;    ///< fingerprint of its first block
    size_t behind = 0;  ///< of the block behind its end

    bool isWhole() const { return given == end - begin; }
};

class SectionedDecoding {
  public:
    SectionedDecoding(const PeakSource& source, const std::stop_token& stop, int64_t length,
                      int64_t sectionCount)
        : source_(source), stop_(stop), sections_(static_cast<size_t>(sectionCount)) {
        for (int64_t i = 0; i < sectionCount; ++i) {
            Section& section = sections_[static_cast<size_t>(i)];
            section.begin = length * i / sectionCount;
            section.end = i + 1 == sectionCount ? toTheEnd : length * (i + 1) / sectionCount;
        }
    }

    /// Decodes every section, with the calling thread as one of `threads`.
    /// @return whether what came into `buckets` is what decoding straight through gives
    /// @throws Cancelled
    bool run(BlockReader& reader, PeakBuckets& buckets, int threads) {
        std::vector<PeakBuckets> results(static_cast<size_t>(threads - 1), buckets);
        {
            std::vector<std::jthread> helpers;
            for (PeakBuckets& result : results) {
                helpers.emplace_back([this, &result] { help(result); });
            }
            work(reader, buckets);
        }
        if (stop_.stop_requested()) {
            throw Cancelled();
        }
        for (const PeakBuckets& result : results) {
            buckets.merge(result);
        }
        return !hasFailed_ && areJoined();
    }

  private:
    void help(PeakBuckets& buckets) {
        try {
            BlockReader reader(source_());
            work(reader, buckets);
        } catch (const std::exception&) {
            hasFailed_ = true;
        }
    }

    void work(BlockReader& reader, PeakBuckets& buckets) {
        while (!stop_.stop_requested() && !hasFailed_) {
            const size_t index = next_.fetch_add(1);
            if (index >= sections_.size()) {
                return;
            }
            decode(sections_[index], reader, buckets);
        }
    }

    void decode(Section& section, BlockReader& reader, PeakBuckets& buckets) {
        reader.seek(section.begin);
        int64_t at = section.begin;
        while (at < section.end && !stop_.stop_requested()) {
            const int64_t got = reader.read(section.end - at);
            if (got == 0) {
                break;
            }
            if (at == section.begin) {
                section.head = reader.fingerprint(got);
            }
            buckets.add(reader.samples(), at, got, reader.channels());
            at += got;
        }
        section.given = at - section.begin;
        if (at == section.end) {
            section.behind = reader.fingerprint(reader.read(blockFrames));
        }
    }

    /// A file may end before the last section, but not go on behind a missing stretch.
    bool areJoined() const {
        for (size_t i = 0; i + 1 < sections_.size(); ++i) {
            const Section& section = sections_[i];
            const Section& next = sections_[i + 1];
            if (section.isWhole() ? section.behind != next.head : next.given > 0) {
                return false;
            }
        }
        return true;
    }

    const PeakSource& source_;
    const std::stop_token& stop_;
    std::vector<Section> sections_;
    std::atomic<size_t> next_ = 0;
    std::atomic<bool> hasFailed_ = false;
};

}  // namespace

std::optional<QList<float>> decodePeaks(const PeakSource& source, int count, int threads,
                                        const std::stop_token& stop) {
    std::shared_ptr<AudioFile> file;
    try {
        file = source();
    } catch (const Error&) {
        return std::nullopt;
    }
    const int64_t length = file->length();
    const int64_t sectionFrames = leastSectionSeconds * file->processingFormat().sampleRate;
    const int64_t sections = std::min<int64_t>(length / std::max<int64_t>(sectionFrames, 1),
                                               threads * sectionsPerThread);
    if (length < 1) {
        return std::nullopt;
    }
    BlockReader reader(file);
    if (threads > 1 && sections > 1 && file->isSeekExact()) {
        PeakBuckets buckets(count, length);
        SectionedDecoding decoding(source, stop, length, sections);
        if (decoding.run(reader, buckets, threads)) {
            return buckets.shares();
        }
    }
    PeakBuckets buckets(count, length);
    const int64_t frames = addAll(reader, buckets, stop);
    if (frames == length || file->isLengthExact()) {
        return buckets.shares();
    }
    PeakBuckets measured(count, frames);
    addAll(reader, measured, stop);
    return measured.shares();
}

}  // namespace halvenor
