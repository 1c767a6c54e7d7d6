#include "platform/audio/linux/PulseOutput.h"

#include <algorithm>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

#include "base/Error.h"
#include "platform/audio/Outputs.h"

namespace halvenor {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// The server asks for more when so much is missing...
constexpr int64_t requestMilliseconds = 1000;
/// ...and passes on so much at once. It sets its device's buffer to what the stream's buffer holds
/// beyond two requests, so this is also how late a change of volume is heard.
constexpr int64_t deviceMilliseconds = 100;
constexpr int64_t bufferMilliseconds = 2 * requestMilliseconds + deviceMilliseconds;

constexpr milliseconds openingTimeout(2000);
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

pa_buffer_attr bufferAttributes(AudioFormat format) {
    const auto bytes = [&](int64_t duration) {
        return static_cast<uint32_t>(duration * format.sampleRate / 1000 * format.channels *
                                     static_cast<int64_t>(sizeof(float)));
    };
    pa_buffer_attr attributes{};
    attributes.maxlength = static_cast<uint32_t>(-1);
    attributes.tlength = bytes(bufferMilliseconds);
    attributes.minreq = bytes(requestMilliseconds);
    attributes.fragsize = static_cast<uint32_t>(-1);
    // Not 0: with any other value an underrun halts the stream until there are frames again.
    // Otherwise it would run on in silence, and drop the frames that it is behind.
    attributes.prebuf = static_cast<uint32_t>(format.channels * sizeof(float));
    return attributes;
}

}  // namespace

PulseOutput::PulseOutput(QByteArray applicationName)
    : applicationName_(std::move(applicationName)) {}

PulseOutput::~PulseOutput() {
    close();
}

AudioFormat PulseOutput::open() {
    if (isOpen()) {
        return format_;
    }
    phase_ = Phase::opening;
    isResumed_ = false;
    connection_ = std::make_unique<PulseConnection>(
        applicationName_,
        PulseConnection::Listener{.ready = [this](AudioFormat sink) { connected(sink); },
                                  .failed = [this] { lost(); }});
    wakeDescriptor_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    {
        const PulseLock lock(connection_->loop());
        wakeEvent_ = connection_->api()->io_new(
            connection_->api(), wakeDescriptor_, PA_IO_EVENT_INPUT,
            [](pa_mainloop_api*, pa_io_event*, int, pa_io_event_flags_t, void* self) {
                static_cast<PulseOutput*>(self)->woken();
            },
            this);
        waitForFirstConnection();
    }
    if (phase_ != Phase::open) {
        close();
        throw Error(ErrorKind::unavailable, QStringLiteral("No sound server is running."));
    }
    return format_;
}

void PulseOutput::waitForFirstConnection() {
    PulseTimer timeout;
    connection_->connect();
    timeout.start(connection_->loop(), connection_->context(), openingTimeout, [this] {
        phase_ = Phase::failed;
        pa_threaded_mainloop_signal(connection_->loop(), 0);
    });
    while (phase_ == Phase::opening) {
        pa_threaded_mainloop_wait(connection_->loop());
    }
}

void PulseOutput::close() {
    if (!isOpen()) {
        return;
    }
    {
        const PulseLock lock(connection_->loop());
        dropStream();
        connection_->api()->io_free(wakeEvent_);
        source_.reset();
        clock_.reset(format_.sampleRate);
    }
    connection_.reset();
    ::close(std::exchange(wakeDescriptor_, -1));
}

void PulseOutput::connected(AudioFormat sinkFormat) {
    if (phase_ == Phase::opening) {
        format_ = sinkFormat;
        clock_.reset(format_.sampleRate);
        given_ = 0;
    } else if (sinkFormat != format_ && onConfigurationChange) {
        // The server converts until the owner has opened anew.
        onConfigurationChange();
    }
    connectStream();
}

void PulseOutput::connectStream() {
    dropStream();
    pa_sample_spec spec{};
    spec.format = PA_SAMPLE_FLOAT32NE;
    spec.rate = static_cast<uint32_t>(format_.sampleRate);
    spec.channels = static_cast<uint8_t>(format_.channels);
    pa_channel_map map{};
    pa_channel_map_init_extend(&map, spec.channels, PA_CHANNEL_MAP_WAVEEX);
    pa_proplist* properties = pa_proplist_new();
    pa_proplist_sets(properties, PA_PROP_MEDIA_ROLE, "music");
    stream_ = pa_stream_new_with_proplist(connection_->context(), applicationName_.constData(),
                                          &spec, &map, properties);
    pa_proplist_free(properties);
    if (!stream_) {
        lost();
        return;
    }
    pa_stream_set_state_callback(
        stream_, [](pa_stream*, void* user) { static_cast<PulseOutput*>(user)->streamChanged(); },
        this);
    pa_stream_set_write_callback(
        stream_,
        [](pa_stream*, size_t, void* user) {
            auto* output = static_cast<PulseOutput*>(user);
            output->fill();
            output->askForTiming();
        },
        this);
    pa_stream_set_underflow_callback(
        stream_,
        [](pa_stream*, void* user) { static_cast<PulseOutput*>(user)->isUnderrun_ = true; }, this);
    const auto ask = [](pa_stream*, void* user) {
        static_cast<PulseOutput*>(user)->askForTiming();
    };
    pa_stream_set_started_callback(stream_, ask, this);
    pa_stream_set_moved_callback(stream_, ask, this);
    pa_stream_set_suspended_callback(
        stream_,
        [](pa_stream* stream, void* user) {
            auto* output = static_cast<PulseOutput*>(user);
            if (pa_stream_is_suspended(stream) > 0) {
                output->clock_.stand(steady_clock::now());
            }
            output->askForTiming();
        },
        this);
    const pa_buffer_attr attributes = bufferAttributes(format_);
    isCorked_ = true;
    isUnderrun_ = false;
    pendingFlushes_ = 0;
    framesRead_.reset();
    if (pa_stream_connect_playback(stream_, nullptr, &attributes, PA_STREAM_START_CORKED, nullptr,
                                   nullptr) < 0) {
        lost();
    }
}

bool PulseOutput::isStreamReady() const {
    return stream_ && pa_stream_get_state(stream_) == PA_STREAM_READY;
}

void PulseOutput::streamChanged() {
    switch (pa_stream_get_state(stream_)) {
        case PA_STREAM_READY:
            connection_->resetPatience();
            if (phase_ == Phase::opening) {
                phase_ = Phase::open;
                pa_threaded_mainloop_signal(connection_->loop(), 0);
            }
            fill();
            updateCork();
            break;
        case PA_STREAM_FAILED:
        case PA_STREAM_TERMINATED:
            lost();
            break;
        default:
            break;
    }
}

void PulseOutput::lost() {
    if (phase_ != Phase::open) {
        phase_ = Phase::failed;
        pa_threaded_mainloop_signal(connection_->loop(), 0);
        return;
    }
    const Time now = steady_clock::now();
    clock_.stand(now);
    if (source_) {
        given_ -= source_->rewind(given_ - clock_.heard(now));
        clock_.setGiven(given_);
    }
    connection_->connectLater();
}

void PulseOutput::dropStream() {
    forgetPadding();
    silenceTimer_.stop();
    timingTimer_.stop();
    rerenderTimer_.stop();
    if (stream_) {
        pa_stream_set_state_callback(stream_, nullptr, nullptr);
        pa_stream_set_write_callback(stream_, nullptr, nullptr);
        pa_stream_set_underflow_callback(stream_, nullptr, nullptr);
        pa_stream_set_started_callback(stream_, nullptr, nullptr);
        pa_stream_set_moved_callback(stream_, nullptr, nullptr);
        pa_stream_set_suspended_callback(stream_, nullptr, nullptr);
        pa_stream_disconnect(stream_);
        pa_stream_unref(std::exchange(stream_, nullptr));
    }
}

void PulseOutput::setSource(std::shared_ptr<RenderSource> source) {
    if (!isOpen()) {
        return;
    }
    const PulseLock lock(connection_->loop());
    source_.swap(source);
    given_ = 0;
    clock_.reset(format_.sampleRate);
    isIdle_ = false;
    isRerenderWanted_ = false;
    framesRead_.reset();
    forgetPadding();
    if (isStreamReady()) {
        flush();
        updateCork();
        fill();
    }
}

/// Corked first, as that makes the server take back what its device holds.
void PulseOutput::flush() {
    if (!isCorked_) {
        isCorked_ = true;
        release(pa_stream_cork(stream_, 1, nullptr, nullptr));
    }
    release(pa_stream_flush(stream_, nullptr, nullptr));
    ++pendingFlushes_;
    release(pa_stream_update_timing_info(
        stream_,
        [](pa_stream* stream, int, void* user) {
            auto* self = static_cast<PulseOutput*>(user);
            if (stream == self->stream_) {
                --self->pendingFlushes_;
                self->timingArrived();
            }
        },
        this));
}

void PulseOutput::resume() {
    if (isOpen()) {
        const PulseLock lock(connection_->loop());
        isResumed_ = true;
        isIdle_ = false;
        updateCork();
    }
}

void PulseOutput::suspend() {
    if (isOpen()) {
        const PulseLock lock(connection_->loop());
        isResumed_ = false;
        clock_.stand(steady_clock::now());
        updateCork();
    }
}

void PulseOutput::updateCork() {
    const bool isCorkWanted = !isResumed_ || isIdle_ || !source_;
    if (!isStreamReady() || isCorkWanted == isCorked_) {
        return;
    }
    isCorked_ = isCorkWanted;
    if (isCorked_) {
        clock_.stand(steady_clock::now());
        timingTimer_.stop();
        silenceTimer_.stop();
        paddingTimer_.stop();
        release(pa_stream_cork(stream_, 1, nullptr, nullptr));
    } else {
        release(pa_stream_cork(stream_, 0, nullptr, nullptr));
        askForTiming();
        prepareForTheEnd();
    }
}

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
    const size_t writable = pa_stream_writable_size(stream_);
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
        if (pa_stream_begin_write(stream_, &memory, &bytes) < 0) {
            break;
        }
        const int64_t room = std::min(static_cast<int64_t>(bytes) / frameBytes(), frames - written);
        const int64_t got = source_->render(static_cast<float*>(memory), room);
        if (got == 0) {
            pa_stream_cancel_write(stream_);
            break;
        }
        const int64_t offset = written == 0 ? -back * frameBytes() : 0;
        if (back > takenBack) {
            forgetPadding();
        }
        pa_stream_write(stream_, memory, static_cast<size_t>(got * frameBytes()), nullptr, offset,
                        PA_SEEK_RELATIVE);
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
        if (pa_stream_begin_write(stream_, &memory, &bytes) < 0) {
            break;
        }
        const int64_t frames = std::min(static_cast<int64_t>(bytes) / frameBytes(), missing);
        std::memset(memory, 0, static_cast<size_t>(frames * frameBytes()));
        pa_stream_write(stream_, memory, static_cast<size_t>(frames * frameBytes()), nullptr, 0,
                        PA_SEEK_RELATIVE);
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
        // The device takes its buffer's worth at once, at any moment.
        from = framesReadAt(now) + deviceFrames_ +
               rerenderSafetyMilliseconds * format_.sampleRate / 1000;
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
    release(pa_stream_update_timing_info(
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
    const pa_timing_info* info = pa_stream_get_timing_info(stream_);
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

std::unique_ptr<AudioOutput> makeSystemOutput(const QString& applicationName) {
    return std::make_unique<PulseOutput>(applicationName.toUtf8());
}

}  // namespace halvenor
