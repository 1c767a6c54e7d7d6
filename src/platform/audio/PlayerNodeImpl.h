#pragma once

#include <memory>

#include "platform/audio/OutputLink.h"
#include "platform/audio/PlaybackWorker.h"
#include "platform/audio/PlayerNode.h"
#include "platform/audio/RenderStream.h"

namespace halvenor {

/// What a player node is on the main thread: which output it has, whether it plays, how loud. The
/// engine gives it the output and takes it away.
class PlayerNode::Impl {
  public:
    enum class State { stopped, playing, paused };

    void setState(State newState);
    void stop();

    /// Goes on where the node was, in the format of `newOutput`, which is open. A playing node
    /// sounds at once.
    void attach(AudioOutput& newOutput, AudioFormat newFormat);
    /// Pauses and lets go of the output, which is still open.
    void detach();

    State state = State::stopped;
    float volume = 1.0F;
    /// Null and no stream while there is no running engine; the format stays.
    AudioOutput* output = nullptr;
    AudioFormat format;
    std::shared_ptr<RenderStream> stream;
    std::shared_ptr<OutputLink> link = std::make_shared<OutputLink>();
    PlaybackWorker worker{link};

  private:
    void replaceStream();
};

}  // namespace halvenor
