#include "platform/audio/linux/PulseConnection.h"

#include <algorithm>
#include <utility>

namespace halvenor {

void release(pa_operation* operation) {
    if (operation) {
        pulse::pa_operation_unref(operation);
    }
}

void PulseTimer::start(pa_threaded_mainloop* loop, pa_context* context,
                       std::chrono::milliseconds delay, std::function<void()> action) {
    stop();
    api_ = pulse::pa_threaded_mainloop_get_api(loop);
    action_ = std::move(action);
    const auto due =
        pulse::pa_rtclock_now() + static_cast<pa_usec_t>(delay.count()) * PA_USEC_PER_MSEC;
    event_ = pulse::pa_context_rttime_new(
        context, due,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
            auto* timer = static_cast<PulseTimer*>(self);
            const std::function<void()> fired = std::move(timer->action_);
            timer->stop();
            fired();
        },
        this);
}

void PulseTimer::stop() {
    if (event_) {
        api_->time_free(std::exchange(event_, nullptr));
    }
    action_ = nullptr;
}

PulseConnection::PulseConnection(QByteArray applicationName, Listener listener)
    : applicationName_(std::move(applicationName)),
      listener_(std::move(listener)),
      loop_(pulse::pa_threaded_mainloop_new()) {
    pulse::pa_threaded_mainloop_set_name(loop_, "sound server");
    pulse::pa_threaded_mainloop_start(loop_);
}

PulseConnection::~PulseConnection() {
    {
        const PulseLock lock(loop_);
        drop();
    }
    pulse::pa_threaded_mainloop_stop(loop_);
    pulse::pa_threaded_mainloop_free(loop_);
}

void PulseConnection::drop() {
    retry_.stop();
    if (context_) {
        pulse::pa_context_set_state_callback(context_, nullptr, nullptr);
        pulse::pa_context_disconnect(context_);
        pulse::pa_context_unref(std::exchange(context_, nullptr));
    }
}

void PulseConnection::connect() {
    drop();
    context_ = pulse::pa_context_new(api(), applicationName_.constData());
    pulse::pa_context_set_state_callback(
        context_,
        [](pa_context*, void* self) { static_cast<PulseConnection*>(self)->contextChanged(); },
        this);
    // No server of our own making: a desktop's starts by itself, and none is an answer too.
    if (pulse::pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
        listener_.failed();
    }
}

void PulseConnection::connectLater() {
    if (retry_.isActive()) {
        return;  // A stream and its connection tell of one loss each.
    }
    // The old context lives until then: it may be in the middle of telling that it failed.
    retry_.start(loop_, context_, patience_, [this] { connect(); });
    patience_ = std::min(patience_ * 2, longestPatience);
}

void PulseConnection::contextChanged() {
    switch (pulse::pa_context_get_state(context_)) {
        case PA_CONTEXT_READY:
            listener_.ready();
            break;
        case PA_CONTEXT_FAILED:
        case PA_CONTEXT_TERMINATED:
            listener_.failed();
            break;
        default:
            break;
    }
}

}  // namespace halvenor
