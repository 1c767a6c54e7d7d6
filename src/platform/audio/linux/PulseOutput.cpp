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

/// How far behind the last frame heard the music goes on after a loss. How late the server tells of
/// it is not known; a frame that comes twice is better than one that never comes. PipeWire tells
/// nothing of its device, and takes some of its cycles until it tells of an end.
constexpr int64_t doubtMilliseconds = 10;
constexpr int64_t pipeWireDoubtMilliseconds = 60;

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
    pulse::load();
    phase_ = Phase::opening;
    missingSince_.reset();
    isResumed_ = false;
    connection_ = std::make_unique<PulseConnection>(
        applicationName_, PulseConnection::Listener{.ready = [this] { askForChosenSink(); },
                                                    .failed = [this] { lost(Failure::noServer); }});
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
        throwFailure();
    }
    return format_;
}

void PulseOutput::waitForFirstConnection() {
    PulseTimer timeout;
    connection_->connect();
    timeout.start(connection_->loop(), connection_->context(), openingTimeout,
                  [this] { lost(Failure::noServer); });
    while (phase_ == Phase::opening) {
        pulse::pa_threaded_mainloop_wait(connection_->loop());
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

void PulseOutput::connectStream() {
    dropStream();
    pa_sample_spec spec{};
    spec.format = PA_SAMPLE_FLOAT32NE;
    spec.rate = static_cast<uint32_t>(format_.sampleRate);
    spec.channels = static_cast<uint8_t>(format_.channels);
    pa_channel_map map{};
    pulse::pa_channel_map_init_extend(&map, spec.channels, PA_CHANNEL_MAP_WAVEEX);
    pa_proplist* properties = pulse::pa_proplist_new();
    pulse::pa_proplist_sets(properties, PA_PROP_MEDIA_ROLE, "music");
    stream_ = pulse::pa_stream_new_with_proplist(
        connection_->context(), applicationName_.constData(), &spec, &map, properties);
    pulse::pa_proplist_free(properties);
    if (!stream_) {
        lost(Failure::refused);
        return;
    }
    pulse::pa_stream_set_state_callback(
        stream_, [](pa_stream*, void* user) { static_cast<PulseOutput*>(user)->streamChanged(); },
        this);
    pulse::pa_stream_set_write_callback(
        stream_,
        [](pa_stream*, size_t, void* user) {
            auto* output = static_cast<PulseOutput*>(user);
            output->fill();
            output->askForTiming();
        },
        this);
    pulse::pa_stream_set_underflow_callback(
        stream_,
        [](pa_stream*, void* user) { static_cast<PulseOutput*>(user)->isUnderrun_ = true; }, this);
    const auto ask = [](pa_stream*, void* user) {
        static_cast<PulseOutput*>(user)->askForTiming();
    };
    pulse::pa_stream_set_started_callback(stream_, ask, this);
    pulse::pa_stream_set_moved_callback(
        stream_, [](pa_stream*, void* user) { static_cast<PulseOutput*>(user)->moved(); }, this);
    pulse::pa_stream_set_suspended_callback(
        stream_,
        [](pa_stream* stream, void* user) {
            auto* output = static_cast<PulseOutput*>(user);
            if (pulse::pa_stream_is_suspended(stream) > 0) {
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
    const bool isChosen = !device_.isEmpty();
    const auto flags = static_cast<pa_stream_flags_t>(
        PA_STREAM_START_CORKED | (isChosen ? PA_STREAM_DONT_MOVE : PA_STREAM_NOFLAGS));
    if (pulse::pa_stream_connect_playback(stream_, isChosen ? device_.constData() : nullptr,
                                          &attributes, flags, nullptr, nullptr) < 0) {
        lost(Failure::refused);
    }
}

bool PulseOutput::isStreamReady() const {
    return stream_ && pulse::pa_stream_get_state(stream_) == PA_STREAM_READY;
}

void PulseOutput::streamChanged() {
    switch (pulse::pa_stream_get_state(stream_)) {
        case PA_STREAM_READY:
            sinkName_ = pulse::pa_stream_get_device_name(stream_);
            connection_->resetPatience();
            if (phase_ == Phase::opening) {
                phase_ = Phase::open;
                pulse::pa_threaded_mainloop_signal(connection_->loop(), 0);
            }
            fill();
            updateCork();
            break;
        case PA_STREAM_FAILED:
        case PA_STREAM_TERMINATED:
            lost(Failure::refused);
            break;
        default:
            break;
    }
}

void PulseOutput::lost(Failure why) {
    if (phase_ != Phase::open) {
        phase_ = Phase::failed;
        failure_ = why;
        refusal_ = pulse::pa_context_errno(connection_->context());
        pulse::pa_threaded_mainloop_signal(connection_->loop(), 0);
        return;
    }
    if (why == Failure::noServer) {
        missingSince_.reset();
    }
    takeBackUnheard();
    connection_->connectLater();
}

/// The source gives again what was not heard, and what may not have been.
void PulseOutput::takeBackUnheard() {
    const Time now = steady_clock::now();
    const bool wasRunning = clock_.isRunning();
    clock_.stand(now);
    if (source_) {
        const int64_t doubt = (isPipeWire_ ? pipeWireDoubtMilliseconds : doubtMilliseconds) *
                              format_.sampleRate / 1000;
        const int64_t heard = std::max<int64_t>(clock_.heard(now) - (wasRunning ? doubt : 0), 0);
        given_ -= source_->rewind(given_ - heard);
        clock_.setGiven(given_);
    }
}

void PulseOutput::dropStream() {
    forgetPadding();
    silenceTimer_.stop();
    timingTimer_.stop();
    rerenderTimer_.stop();
    if (stream_) {
        pulse::pa_stream_set_state_callback(stream_, nullptr, nullptr);
        pulse::pa_stream_set_write_callback(stream_, nullptr, nullptr);
        pulse::pa_stream_set_underflow_callback(stream_, nullptr, nullptr);
        pulse::pa_stream_set_started_callback(stream_, nullptr, nullptr);
        pulse::pa_stream_set_moved_callback(stream_, nullptr, nullptr);
        pulse::pa_stream_set_suspended_callback(stream_, nullptr, nullptr);
        pulse::pa_stream_disconnect(stream_);
        pulse::pa_stream_unref(std::exchange(stream_, nullptr));
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
    startEmpty();
}

/// Throws away what the server holds, and fills its buffer from the source as it stands.
void PulseOutput::startEmpty() {
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
        release(pulse::pa_stream_cork(stream_, 1, nullptr, nullptr));
    }
    release(pulse::pa_stream_flush(stream_, nullptr, nullptr));
    ++pendingFlushes_;
    release(pulse::pa_stream_update_timing_info(
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
        release(pulse::pa_stream_cork(stream_, 1, nullptr, nullptr));
    } else {
        release(pulse::pa_stream_cork(stream_, 0, nullptr, nullptr));
        askForTiming();
        // More may have been decoded since the stream was filled: the end is told by what is there
        // now, not by what was missing then.
        fill();
    }
}

std::unique_ptr<AudioOutput> makeSystemOutput(const QString& applicationName) {
    return std::make_unique<PulseOutput>(applicationName.toUtf8());
}

}  // namespace halvenor
