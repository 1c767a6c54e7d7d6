#pragma once

#include <mutex>

#include "platform/audio/AudioOutput.h"

namespace halvenor {

/// The output as the main thread and the decode thread of a node reach it: it may come and go
/// while the decode thread looks at it, and frame numbers run on across that.
class OutputLink {
  public:
    /// @param origin the number of the first frame that `output` will be given
    void connect(AudioOutput& output, int64_t origin) {
        const std::scoped_lock lock(mutex_);
        output_ = &output;
        origin_ = origin;
    }
    /// When it returns, the decode thread does not use the output any more. The frame count stays.
    void disconnect() {
        const std::scoped_lock lock(mutex_);
        origin_ = heard();
        output_ = nullptr;
    }
    /// Puts a new source in the place of the old one; its first frame has the number 0.
    void setSource(std::shared_ptr<RenderSource> source) {
        const std::scoped_lock lock(mutex_);
        origin_ = 0;
        if (output_) {
            output_->setSource(std::move(source));
        }
    }

    int64_t framesHeard() const {
        const std::scoped_lock lock(mutex_);
        return heard();
    }
    void wake() const {
        const std::scoped_lock lock(mutex_);
        if (output_) {
            output_->wake();
        }
    }

  private:
    int64_t heard() const { return origin_ + (output_ ? output_->framesHeard() : 0); }

    /// Held for moments only; the output's own thread never takes it.
    mutable std::mutex mutex_;
    AudioOutput* output_ = nullptr;
    int64_t origin_ = 0;
};

}  // namespace halvenor
