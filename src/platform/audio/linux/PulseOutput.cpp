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
        pulse::pa_threaded_mainloop_signal(connection_->loop(), 0);
    });
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
    pulse::pa_channel_map_init_extend(&map, spec.channels, PA_CHANNEL_MAP_WAVEEX);
    pa_proplist* properties = pulse::pa_proplist_new();
    pulse::pa_proplist_sets(properties, PA_PROP_MEDIA_ROLE, "music");
    stream_ = pulse::pa_stream_new_with_proplist(
        connection_->context(), applicationName_.constData(), &spec, &map, properties);
    pulse::pa_proplist_free(properties);
    if (!stream_) {
        lost();
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
    pulse::pa_stream_set_moved_callback(stream_, ask, this);
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
    if (pulse::pa_stream_connect_playback(stream_, nullptr, &attributes, PA_STREAM_START_CORKED,
                                          nullptr, nullptr) < 0) {
        lost();
    }
}

bool PulseOutput::isStreamReady() const {
    return stream_ && pulse::pa_stream_get_state(stream_) == PA_STREAM_READY;
}

void PulseOutput::streamChanged() {
    switch (pulse::pa_stream_get_state(stream_)) {
        case PA_STREAM_READY:
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
            lost();
            break;
        default:
            break;
    }
}

void PulseOutput::lost() {
    if (phase_ != Phase::open) {
        phase_ = Phase::failed;
        pulse::pa_threaded_mainloop_signal(connection_->loop(), 0);
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
