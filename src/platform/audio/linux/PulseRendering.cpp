// What the output does with frames: takes them from the source into the server's buffer, puts new
// ones over old ones, and tells from the server's words how many of them have been heard.
#include <algorithm>
#include <cstring>
#include <unistd.h>

#include "platform/audio/linux/PulseOutput.h"

namespace halvenor {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// The stream is corked when nothing was heard for so long.
constexpr milliseconds idleAfter(2000);
/// When no more than this is left and nothing follows, so much silence is put behind it. More than
/// the portions of any server.
constexpr int64_t paddingMilliseconds = 250;
/// The server is asked again so soon while it does not tell that it plays.
constexpr milliseconds timingRetry(100);
/// While the volume is being dragged, buffers are written again at most so often.
constexpr milliseconds rerenderInterval(30);
/// Frames nearer than this to the device are not written again: they would come too late.
constexpr int64_t rerenderSafetyMilliseconds = 20;

}  // namespace

void PulseOutput::wake() {
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(wakeDescriptor_, &one, sizeof one);
}

void PulseOutput::woken() {
    uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = ::read(wakeDescriptor_, &count, sizeof count);
    fill();
}

void PulseOutput::fill() {
    if (!isStreamReady() || !source_) {
        return;
    }
    const size_t writable = pulse::pa_stream_writable_size(stream_);
    if (writable == static_cast<size_t>(-1)) {
        return;
    }
    const int64_t wanted = static_cast<int64_t>(writable) / frameBytes();
    const int64_t got = write(wanted, 0);
    isDry_ = got < wanted;
    if (got > 0 && isIdle_) {
        isIdle_ = false;
        updateCork();
    }
    prepareForTheEnd();
}

/// Renders up to `frames` frames into the server's memory.
/// @param takenBack how many frames before the end of what was written the first one belongs
int64_t PulseOutput::write(int64_t frames, int64_t takenBack) {
    // Silence that the server has not come to yet gives way to frames.
    int64_t back = takenBack;
    if (padding_ > 0) {
        const int64_t reach = framesReadAt(steady_clock::now()) + deviceFrames_ +
                              rerenderSafetyMilliseconds * format_.sampleRate / 1000;
        if (takenBack > 0 || reach < paddedAt_) {
            back += padding_;
        }
    }
    int64_t written = 0;
    while (written < frames) {
        void* memory = nullptr;
        size_t bytes = static_cast<size_t>((frames - written) * frameBytes());
        if (pulse::pa_stream_begin_write(stream_, &memory, &bytes) < 0) {
            break;
        }
        const int64_t room = std::min(static_cast<int64_t>(bytes) / frameBytes(), frames - written);
        const int64_t got = source_->render(static_cast<float*>(memory), room);
        if (got == 0) {
            pulse::pa_stream_cancel_write(stream_);
            break;
        }
        const int64_t offset = written == 0 ? -back * frameBytes() : 0;
        if (back > takenBack) {
            forgetPadding();
        }
        pulse::pa_stream_write(stream_, memory, static_cast<size_t>(got * frameBytes()), nullptr,
                               offset, PA_SEEK_RELATIVE);
        written += got;
        if (got < room) {
            break;
        }
    }
    if (written > 0 && isUnderrun_ && takenBack == 0) {
        // Nothing sounded since the underrun; the clock goes on when the server has started again.
        isUnderrun_ = false;
        clock_.stand(steady_clock::now());
        askForTiming();
    }
    given_ += written;
    clock_.setGiven(given_);
    return written;
}

/// While render() has nothing more: puts silence behind the last frames in time, and corks the
/// stream some time after they were heard.
void PulseOutput::prepareForTheEnd() {
    if (!isDry_ || isCorked_) {
        return;
    }
    const Time now = steady_clock::now();
    const auto timeOf = [&](int64_t frames) {
        return milliseconds(frames * 1000 / format_.sampleRate);
    };
    if (padding_ == 0 && given_ > clock_.heard(now) && !paddingTimer_.isActive()) {
        const auto left = timeOf(given_ - framesReadAt(now)) - milliseconds(paddingMilliseconds);
        paddingTimer_.start(connection_->loop(), connection_->context(),
                            std::max(left, milliseconds(0)), [this, given = given_] {
                                if (given == given_) {
                                    pad();
                                } else {
                                    prepareForTheEnd();
                                }
                            });
    }
    if (!silenceTimer_.isActive()) {
        silenceTimer_.start(connection_->loop(), connection_->context(),
                            timeOf(given_ - clock_.heard(now)) + idleAfter, [this, given = given_] {
                                if (given == given_ && clock_.heard() >= given_) {
                                    corkAfterSilence();
                                } else {
                                    prepareForTheEnd();
                                }
                            });
    }
}

void PulseOutput::corkAfterSilence() {
    if (isDry_) {
        isIdle_ = true;
        updateCork();
    }
}

void PulseOutput::pad() {
    int64_t missing = paddingMilliseconds * format_.sampleRate / 1000;
    while (isDry_ && missing > 0) {
        void* memory = nullptr;
        size_t bytes = static_cast<size_t>(missing * frameBytes());
        if (pulse::pa_stream_begin_write(stream_, &memory, &bytes) < 0) {
            break;
        }
        const int64_t frames = std::min(static_cast<int64_t>(bytes) / frameBytes(), missing);
        std::memset(memory, 0, static_cast<size_t>(frames * frameBytes()));
        pulse::pa_stream_write(stream_, memory, static_cast<size_t>(frames * frameBytes()), nullptr,
                               0, PA_SEEK_RELATIVE);
        paddedAt_ = given_;
        padding_ += frames;
        missing -= frames;
    }
}

void PulseOutput::forgetPadding() {
    padding_ = 0;
    paddedAt_ = 0;
    paddingTimer_.stop();
}

/// Frames of the source among the first `written` frames, silence included, of the stream.
int64_t PulseOutput::framesWithoutPadding(int64_t written) const {
    return written <= paddedAt_ ? written : std::max(paddedAt_, written - padding_);
}

/// What the device has taken, if it takes frames evenly.
int64_t PulseOutput::framesReadAt(Time now) const {
    int64_t frames = framesRead_.value_or(0);
    if (framesRead_ && clock_.isRunning()) {
        const double seconds = std::chrono::duration<double>(now - readTime_).count();
        frames += static_cast<int64_t>(seconds * format_.sampleRate);
    }
    return std::min(frames, given_);
}

void PulseOutput::rerender() {
    if (!isOpen()) {
        return;
    }
    const PulseLock lock(connection_->loop());
    isRerenderWanted_ = true;
    if (!isStreamReady() || rerenderTimer_.isActive()) {
        return;
    }
    const auto since =
        std::chrono::duration_cast<milliseconds>(steady_clock::now() - lastRerender_);
    if (since >= rerenderInterval) {
        rerenderNow();
    } else {
        rerenderTimer_.start(connection_->loop(), connection_->context(), rerenderInterval - since,
                             [this] { rerenderNow(); });
    }
}

void PulseOutput::rerenderNow() {
    if (!isStreamReady() || !source_ || !isRerenderWanted_) {
        return;
    }
    const Time now = steady_clock::now();
    int64_t from = 0;
    if (framesRead_) {
        from = framesReadAt(now);
        if (!isCorked_) {
            // The device takes its buffer's worth at once, at any moment.
            from += deviceFrames_ + rerenderSafetyMilliseconds * format_.sampleRate / 1000;
        }
    } else if (!isCorked_) {
        return;  // Just begun: timingArrived() comes back here.
    }
    isRerenderWanted_ = false;
    lastRerender_ = now;
    const int64_t takenBack = source_->rewind(given_ - from);
    if (takenBack > 0) {
        given_ -= takenBack;
        write(takenBack, takenBack);
        prepareForTheEnd();
    }
}

void PulseOutput::askForTiming() {
    if (!isStreamReady()) {
        return;
    }
    release(pulse::pa_stream_update_timing_info(
        stream_,
        [](pa_stream* stream, int, void* user) {
            auto* self = static_cast<PulseOutput*>(user);
            if (stream == self->stream_) {
                self->timingArrived();
            }
        },
        this));
}

void PulseOutput::timingArrived() {
    const pa_timing_info* info = pulse::pa_stream_get_timing_info(stream_);
    if (!info || info->write_index_corrupt || info->read_index_corrupt || pendingFlushes_ > 0) {
        return;
    }
    const Time now = steady_clock::now();
    const auto frames = [&](pa_usec_t usec) {
        return static_cast<int64_t>(usec) * format_.sampleRate / 1'000'000;
    };
    const int64_t queued =
        std::max<int64_t>((info->write_index - info->read_index) / frameBytes(), 0);
    const int64_t read = given_ + padding_ - queued;
    framesRead_ = framesWithoutPadding(read);
    readTime_ = now;
    deviceFrames_ = std::min<int64_t>(frames(info->sink_usec), format_.sampleRate / 5);
    if (!isCorked_) {
        if (info->playing) {
            clock_.run(
                framesWithoutPadding(read - frames(info->sink_usec) + frames(info->transport_usec)),
                now);
        } else if (given_ > clock_.heard(now) && !isUnderrun_ && !timingTimer_.isActive()) {
            timingTimer_.start(connection_->loop(), connection_->context(), timingRetry,
                               [this] { askForTiming(); });
        }
    }
    if (isRerenderWanted_ && !rerenderTimer_.isActive()) {
        rerenderNow();
    }
}

}  // namespace halvenor
