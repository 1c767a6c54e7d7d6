#include "platform/audio/AudioEngine.h"

#include "base/MainThread.h"
#include "platform/audio/PlayerNodeImpl.h"

namespace halvenor {

class AudioEngine::Impl {
  public:
    Impl(AudioEngine& owner, std::unique_ptr<AudioOutput> newOutput, PlayerNode::Impl& newNode)
        : engine(owner), output(std::move(newOutput)), node(newNode) {
        output->onConfigurationChange = posting(&AudioEngine::onConfigurationChange);
        output->onDeviceLost = posting(&AudioEngine::onDeviceLost);
    }

    /// Calls a callback of the engine from the main thread.
    std::function<void()> posting(std::function<void()> AudioEngine::*callback) {
        return [weak = std::weak_ptr<Impl*>(alive), callback] {
            postToMainThread([weak, callback] {
                const auto self = weak.lock();
                if (self && (*self)->engine.*callback) {
                    ((*self)->engine.*callback)();
                }
            });
        };
    }

    AudioEngine& engine;
    std::unique_ptr<AudioOutput> output;
    PlayerNode::Impl& node;
    /// Ends with the engine: a change posted before finds nobody.
    std::shared_ptr<Impl*> alive = std::make_shared<Impl*>(this);
};

AudioEngine::AudioEngine(std::unique_ptr<AudioOutput> output, PlayerNode& node)
    : impl_(std::make_unique<Impl>(*this, std::move(output), *node.impl_)) {}

AudioEngine::~AudioEngine() {
    stop();
}

bool AudioEngine::isRunning() const {
    return impl_->output->isOpen();
}

void AudioEngine::start() {
    if (!isRunning()) {
        const AudioFormat format = impl_->output->open();
        impl_->node.attach(*impl_->output, format);
    }
}

void AudioEngine::stop() {
    if (isRunning()) {
        impl_->node.detach();
        impl_->output->close();
    }
}

AudioOutput& AudioEngine::output() {
    return *impl_->output;
}

}  // namespace halvenor
