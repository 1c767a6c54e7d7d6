#include "DrainingOutput.h"

#include <utility>

namespace halvenor::bench {

AudioFormat DrainingOutput::open() {
    isOpen_ = true;
    return format;
}

void DrainingOutput::close() {
    setSource(nullptr);
    isRunning_ = false;
    isOpen_ = false;
}

void DrainingOutput::setSource(std::shared_ptr<RenderSource> source) {
    source_ = std::move(source);
    heard_ = 0;
}

int64_t DrainingOutput::drain(int64_t frames) {
    if (!source_ || !isRunning_) {
        return 0;
    }
    scratch_.resize(static_cast<size_t>(frames * format.channels));
    const int64_t given = source_->render(scratch_.data(), frames);
    heard_ += given;
    drained_ += given;
    return given;
}

}  // namespace halvenor::bench
