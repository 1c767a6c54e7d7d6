#include "platform/audio/PlayerNode.h"

#include <algorithm>
#include <cmath>

#include "platform/audio/PlayerNodeImpl.h"

namespace halvenor {

PlayerNode::PlayerNode() : impl_(std::make_unique<Impl>()) {}

PlayerNode::~PlayerNode() = default;

void PlayerNode::scheduleFile(std::shared_ptr<AudioFile> file, CompletionHandler handler) {
    impl_->worker.schedule(
        {.file = std::move(file), .frameCount = std::nullopt, .handler = std::move(handler)});
}

void PlayerNode::scheduleSegment(std::shared_ptr<AudioFile> file, int64_t startFrame,
                                 int64_t frameCount, CompletionHandler handler) {
    impl_->worker.schedule({.file = std::move(file),
                            .startFrame = std::max<int64_t>(0, startFrame),
                            .frameCount = std::max<int64_t>(0, frameCount),
                            .handler = std::move(handler)});
}

void PlayerNode::play() {
    impl_->setState(Impl::State::playing);
}

void PlayerNode::pause() {
    if (impl_->state == Impl::State::playing) {
        impl_->setState(Impl::State::paused);
    }
}

void PlayerNode::stop() {
    impl_->stop();
}

void PlayerNode::setVolume(float volume) {
    const float clamped = std::isnan(volume) ? 0.0F : std::clamp(volume, 0.0F, 1.0F);
    if (clamped == impl_->volume) {
        return;
    }
    impl_->volume = clamped;
    if (impl_->stream) {
        impl_->stream->setGain(clamped);
        impl_->output->rerender();
    }
}

float PlayerNode::volume() const {
    return impl_->volume;
}

std::optional<int64_t> PlayerNode::sampleTime() const {
    if (impl_->state == Impl::State::stopped || !impl_->output) {
        return std::nullopt;
    }
    return impl_->link->framesHeard();
}

double PlayerNode::outputSampleRate() const {
    return impl_->format.sampleRate;
}

void PlayerNode::waitUntilIdle() {
    impl_->worker.waitUntilIdle();
}

void PlayerNode::Impl::setState(State newState) {
    state = newState;
    worker.setRunning(output && state == State::playing);
    if (output) {
        state == State::playing ? output->resume() : output->suspend();
    }
}

void PlayerNode::Impl::stop() {
    setState(State::stopped);
    replaceStream();
    link->setSource(stream);
    worker.clear(stream, format);
}

void PlayerNode::Impl::replaceStream() {
    stream = output ? std::make_shared<RenderStream>(format, volume, worker.signal()) : nullptr;
}

void PlayerNode::Impl::attach(AudioOutput& newOutput, AudioFormat newFormat) {
    const int64_t heard = link->framesHeard();
    const int64_t origin =
        format.sampleRate == 0
            ? 0
            : std::llround(static_cast<double>(heard) * newFormat.sampleRate / format.sampleRate);
    output = &newOutput;
    format = newFormat;
    replaceStream();
    output->suspend();
    output->setSource(stream);
    link->connect(*output, origin);
    worker.restart(stream, format, heard, origin);
    setState(state);
}

void PlayerNode::Impl::detach() {
    if (!output) {
        return;
    }
    if (state == State::playing) {
        setState(State::paused);
    }
    link->disconnect();
    output->setSource(nullptr);
    output = nullptr;
    stream.reset();
    worker.setRunning(false);
}

}  // namespace halvenor
