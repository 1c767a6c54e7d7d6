// Which sink the output is on: the one that was chosen or the server's default, and what happens
// when it is not there or the server moves the stream.
#include <algorithm>
#include <chrono>
#include <optional>

#include "platform/audio/AudioOutputDevices.h"
#include "platform/audio/linux/PulseOutput.h"

namespace halvenor {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// A server that is there without the chosen sink gets so long to find it.
constexpr milliseconds missingPatience(3000);

AudioFormat formatOf(const pa_sink_info& sink) {
    return {.sampleRate = static_cast<int>(sink.sample_spec.rate),
            .channels = std::clamp<int>(sink.sample_spec.channels, 1, 8)};
}

}  // namespace

void PulseOutput::setDevice(const QString& uid) {
    std::optional<PulseLock> lock;
    if (isOpen()) {
        lock.emplace(connection_->loop());
    }
    device_ = uid.toUtf8();
}

QString PulseOutput::device() const {
    if (!isOpen()) {
        return {};
    }
    const PulseLock lock(connection_->loop());
    return isStreamReady() ? QString::fromUtf8(sinkName_) : QString();
}

void PulseOutput::deviceGone() {
    if (isOpen()) {
        const PulseLock lock(connection_->loop());
        if (isStreamReady()) {
            lost(Failure::noDevice);
            dropStream();
        }
    }
}

void PulseOutput::throwFailure() const {
    switch (failure_) {
        case Failure::noDevice:
            throw AudioOutputSelectionError::deviceUnavailable(
                device_.isEmpty() ? QStringLiteral("System Default") : QString::fromUtf8(device_));
        case Failure::refused:
            throw AudioOutputSelectionError::coreAudio(refusal_);
        case Failure::noServer:
            break;
    }
    throw Error(ErrorKind::unavailable, QStringLiteral("No sound server is running."));
}

/// Asks who the server is, and about the sink that a new stream is for. Answers come in order.
void PulseOutput::askForChosenSink() {
    release(pulse::pa_context_get_server_info(
        connection_->context(),
        [](pa_context*, const pa_server_info* server, void* user) {
            static_cast<PulseOutput*>(user)->isPipeWire_ =
                server && QByteArray(server->server_name).contains("PipeWire");
        },
        this));
    release(pulse::pa_context_get_sink_info_by_name(
        connection_->context(), device_.isEmpty() ? "@DEFAULT_SINK@" : device_.constData(),
        [](pa_context*, const pa_sink_info* sink, int end, void* user) {
            auto* self = static_cast<PulseOutput*>(user);
            if (end < 0) {
                self->noSuchSink();
            } else if (sink) {
                self->connected(*sink);
            }
        },
        this));
}

void PulseOutput::noSuchSink() {
    if (pulse::pa_context_errno(connection_->context()) != PA_ERR_NOENTITY) {
        lost(Failure::noServer);
        return;
    }
    const Time now = steady_clock::now();
    missingSince_ = missingSince_.value_or(now);
    if (!device_.isEmpty() && now - *missingSince_ > missingPatience && onDeviceLost) {
        onDeviceLost();
    }
    lost(Failure::noDevice);
}

void PulseOutput::connected(const pa_sink_info& sink) {
    missingSince_.reset();
    const AudioFormat sinkFormat = formatOf(sink);
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

/// The stream is on another sink now.
void PulseOutput::moved() {
    sinkName_ = pulse::pa_stream_get_device_name(stream_);
    if (isPipeWire_) {
        askForTiming();  // It takes all frames along.
    } else {
        takeBackUnheard();
        isUnderrun_ = false;
        startEmpty();
    }
    // Opening anew makes no sense where the user's mixer has put the stream somewhere: it would
    // come back to the default one.
    release(pulse::pa_context_get_sink_info_by_name(
        connection_->context(), "@DEFAULT_SINK@",
        [](pa_context*, const pa_sink_info* sink, int end, void* user) {
            auto* self = static_cast<PulseOutput*>(user);
            if (end == 0 && sink && self->sinkName_ == sink->name &&
                formatOf(*sink) != self->format_ && self->onConfigurationChange) {
                self->onConfigurationChange();
            }
        },
        this));
}

}  // namespace halvenor
