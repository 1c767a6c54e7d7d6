#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/audio/Outputs.h"
#include "platform/audio/PlaybackClock.h"
#include "platform/audio/WakeSignal.h"

namespace halvenor {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// The thread pulls so often, and so much beyond what is being "heard".
constexpr milliseconds pullInterval(250);
constexpr milliseconds pullAhead(500);

class SilentOutput final : public AudioOutput {
  public:
    explicit SilentOutput(AudioFormat format) : format_(format) {
        scratch_.resize(aheadFrames() * format.channels);
    }
    ~SilentOutput() override { close(); }

    AudioFormat open() override {
        if (!thread_.joinable()) {
            isEnding_ = false;
            clock_.reset(format_.sampleRate);
            thread_ = std::thread([this] { run(); });
        }
        return format_;
    }

    void close() override {
        if (!thread_.joinable()) {
            return;
        }
        isEnding_ = true;
        signal_.signal();
        thread_.join();
        source_.reset();
        isResumed_ = false;
    }

    bool isOpen() const override { return thread_.joinable(); }

    void setSource(std::shared_ptr<RenderSource> source) override {
        {
            const std::scoped_lock lock(mutex_);
            source_.swap(source);
            given_ = 0;
            clock_.reset(format_.sampleRate);
        }
        signal_.signal();
    }

    void resume() override {
        {
            const std::scoped_lock lock(mutex_);
            isResumed_ = true;
        }
        signal_.signal();
    }

    void suspend() override {
        const std::scoped_lock lock(mutex_);
        isResumed_ = false;
        clock_.stand(steady_clock::now());
    }

    void rerender() override {
        const std::scoped_lock lock(mutex_);
        if (source_) {
            given_ -= source_->rewind(given_ - clock_.heard());
            clock_.setGiven(given_);
            pull(steady_clock::now());
        }
    }

    void wake() override { signal_.signal(); }
    int64_t framesHeard() const override { return clock_.heard(); }

  private:
    int64_t aheadFrames() const { return pullAhead.count() * format_.sampleRate / 1000; }

    void run() {
        while (!isEnding_) {
            std::optional<std::chrono::nanoseconds> sleep;
            {
                const std::scoped_lock lock(mutex_);
                sleep = pull(steady_clock::now());
            }
            signal_.wait(sleep);
        }
    }

    /// @return when to come again; absent: when woken
    std::optional<std::chrono::nanoseconds> pull(steady_clock::time_point now) {
        if (!source_ || !isResumed_) {
            return std::nullopt;
        }
        const int64_t heard = clock_.heard(now);
        const bool isDry = heard == given_;
        const int64_t wanted = std::min(heard + aheadFrames() - given_, aheadFrames());
        const int64_t got = wanted > 0 ? source_->render(scratch_.data(), wanted) : 0;
        given_ += got;
        if (got > 0 && (isDry || !clock_.isRunning())) {
            clock_.run(heard, now);
        }
        clock_.setGiven(given_);
        if (got == 0 && isDry) {
            clock_.stand(now);
            return std::nullopt;
        }
        if (!clock_.isRunning()) {
            clock_.run(heard, now);
        }
        return pullInterval;
    }

    const AudioFormat format_;
    std::thread thread_;
    WakeSignal signal_;
    std::atomic<bool> isEnding_ = false;
    PlaybackClock clock_;

    /// Guards what follows, and that no source is called after it was replaced.
    std::mutex mutex_;
    std::shared_ptr<RenderSource> source_;
    bool isResumed_ = false;
    int64_t given_ = 0;
    std::vector<float> scratch_;
};

}  // namespace

std::unique_ptr<AudioOutput> makeSilentOutput(AudioFormat format) {
    return std::make_unique<SilentOutput>(format);
}

}  // namespace halvenor
