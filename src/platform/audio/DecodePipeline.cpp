#include "platform/audio/DecodePipeline.h"

#include <QLoggingCategory>

#include <algorithm>
#include <cstring>

#include "base/Error.h"

namespace halvenor {

namespace {

/// Source frames that are converted in one go.
constexpr int64_t conversionBlock = 8192;

/// A file that fails is over; the music goes on with the next.
void logFailure(const char* what) {
    qWarning("Decoding ended early: %s", what);
}

}  // namespace

DecodePipeline::DecodePipeline(std::shared_ptr<RenderStream> stream, AudioFormat format,
                               int64_t origin)
    : stream_(std::move(stream)),
      format_(format),
      origin_(origin),
      timeline_(format.sampleRate, origin) {}

DecodePipeline::~DecodePipeline() = default;

ScheduleEntry* DecodePipeline::current(std::deque<ScheduleEntry>& schedule) const {
    const auto found = std::find_if(schedule.begin(), schedule.end(),
                                    [](const auto& entry) { return !entry.end; });
    return found == schedule.end() ? nullptr : &*found;
}

bool DecodePipeline::hasWork(const std::deque<ScheduleEntry>& schedule) const {
    return convertedAt_ < converted_.size() || (!schedule.empty() && !schedule.back().end);
}

void DecodePipeline::setSourceFormat(AudioFormat format) {
    // First what may throw.
    auto converter =
        format == format_ ? nullptr : std::make_unique<FormatConverter>(format, format_);
    converter_ = std::move(converter);
    sourceFormat_ = format;
    timeline_.setSourceRate(format.sampleRate);
}

void DecodePipeline::releaseTail() {
    if (!converter_) {
        return;
    }
    converter_->drain(converted_);
    converter_.reset();
    sourceFormat_.reset();
    // The resampler rounds as it likes; the time line says where the last frame stands.
    const int64_t waiting =
        static_cast<int64_t>(converted_.size() - convertedAt_) / format_.channels;
    const int64_t wanted = std::max<int64_t>(0, timeline_.position() - produced());
    for (int64_t missing = wanted - waiting; missing > 0; --missing) {
        const size_t channels = format_.channels;
        const size_t size = converted_.size();
        converted_.resize(size + channels);  // zeros, if there is no last frame to hold
        if (size >= channels) {
            std::copy_n(converted_.begin() + static_cast<ptrdiff_t>(size - channels), channels,
                        converted_.begin() + static_cast<ptrdiff_t>(size));
        }
    }
    converted_.resize(convertedAt_ + static_cast<size_t>(wanted) * format_.channels);
}

bool DecodePipeline::begin(ScheduleEntry& entry) {
    try {
        const AudioFormat format = entry.file->processingFormat();
        entry.sourceRate = format.sampleRate;
        if (sourceFormat_ != format) {
            if (isTailHeld()) {
                releaseTail();
                return false;
            }
            setSourceFormat(format);
        }
        entry.begin = timeline_.position();
        remaining_ = entry.frameCount;
        entry.file->seek(entry.startFrame);
    } catch (const std::exception& error) {
        logFailure(error.what());
        entry.begin = timeline_.position();
        finish(entry);
        return false;
    }
    return true;
}

void DecodePipeline::finish(ScheduleEntry& entry) {
    entry.end = timeline_.position();
}

int64_t DecodePipeline::readInto(ScheduleEntry& entry, float* samples, int64_t frames) {
    if (remaining_) {
        frames = std::min(frames, *remaining_);
    }
    int64_t given = 0;
    if (frames > 0) {
        try {
            given = entry.file->read(samples, frames);
        } catch (const std::exception& error) {
            logFailure(error.what());
        }
    }
    if (given <= 0) {
        finish(entry);
        return 0;
    }
    timeline_.advance(given);
    if (remaining_) {
        *remaining_ -= given;
        if (*remaining_ == 0) {
            finish(entry);
        }
    }
    return given;
}

int64_t DecodePipeline::publishConverted(int64_t frames) {
    const auto [samples, free] = stream_->room();
    const int64_t waiting =
        static_cast<int64_t>(converted_.size() - convertedAt_) / format_.channels;
    const int64_t count = std::min({frames, free, waiting});
    const int64_t size = count * format_.channels;
    std::memcpy(samples, converted_.data() + convertedAt_, size * sizeof(float));
    stream_->publish(count);
    convertedAt_ += size;
    if (convertedAt_ == converted_.size()) {
        converted_.clear();
        convertedAt_ = 0;
    }
    return count;
}

int64_t DecodePipeline::readDirectly(ScheduleEntry& entry, int64_t frames) {
    const auto [samples, free] = stream_->room();
    const int64_t given = readInto(entry, samples, std::min(frames, free));
    stream_->publish(given);
    return given;
}

int64_t DecodePipeline::feed(std::deque<ScheduleEntry>& schedule, int64_t frames) {
    int64_t published = 0;
    while (published < frames && stream_->room().frames > 0) {
        if (convertedAt_ < converted_.size()) {
            published += publishConverted(frames - published);
            continue;
        }
        ScheduleEntry* entry = current(schedule);
        if (!entry) {
            break;
        }
        if (!entry->begin && !begin(*entry)) {
            continue;
        }
        if (!converter_) {
            published += readDirectly(*entry, frames - published);
            continue;
        }
        input_.resize(conversionBlock * sourceFormat_->channels);
        const int64_t given = readInto(*entry, input_.data(), conversionBlock);
        if (given > 0) {
            converter_->convert(input_.data(), given, converted_);
        }
    }
    return published;
}

}  // namespace halvenor
