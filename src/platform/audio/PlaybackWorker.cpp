#include "platform/audio/PlaybackWorker.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace halvenor {

namespace {

using std::chrono::milliseconds;

/// A resampler is drained when no more than this is left to hear and nothing follows. Long enough
/// for the output to take the last frames before it runs dry.
constexpr int64_t tailMilliseconds = 300;

/// How long to sleep at least, and at most while the output's clock stands still.
constexpr milliseconds leastSleep(2);
constexpr milliseconds longestPatience(500);

}  // namespace

PlaybackWorker::PlaybackWorker(std::shared_ptr<OutputLink> link)
    : link_(std::move(link)), thread_([this] { run(); }) {}

PlaybackWorker::~PlaybackWorker() {
    {
        const std::scoped_lock lock(mutex_);
        isEnding_ = true;
    }
    signal_->signal();
    thread_.join();
}

void PlaybackWorker::post(Command command) {
    {
        const std::scoped_lock lock(mutex_);
        commands_.push_back(std::move(command));
    }
    signal_->signal();
}

void PlaybackWorker::schedule(ScheduleEntry entry) {
    // A shared pointer, as std::function must be copyable and a handler need not be cheap to copy.
    auto shared = std::make_shared<ScheduleEntry>(std::move(entry));
    post([this, shared] {
        schedule_.push_back(std::move(*shared));
        isFilling_ = true;
    });
}

void PlaybackWorker::clear(std::shared_ptr<RenderStream> stream, AudioFormat format) {
    post([this, stream = std::move(stream), format] {
        std::deque<ScheduleEntry> dropped;
        dropped.swap(schedule_);
        startOver(stream, format, 0);
        for (ScheduleEntry& entry : dropped) {
            complete(entry);
        }
    });
}

void PlaybackWorker::restart(std::shared_ptr<RenderStream> stream, AudioFormat format,
                             int64_t heard, int64_t origin) {
    post([this, stream = std::move(stream), format, heard, origin] {
        skipTo(heard, format_.sampleRate);
        startOver(stream, format, origin);
    });
}

void PlaybackWorker::setRunning(bool isRunning) {
    post([this, isRunning] { isRunning_ = isRunning; });
}

void PlaybackWorker::waitUntilIdle() {
    std::unique_lock lock(mutex_);
    const uint64_t asked = ++idleAsked_;
    signal_->signal();
    becameIdle_.wait(lock, [&] { return idleReached_ >= asked; });
}

void PlaybackWorker::startOver(const std::shared_ptr<RenderStream>& stream, AudioFormat format,
                               int64_t origin) {
    stream_ = stream;
    format_ = format;
    pipeline_.reset();
    if (stream_) {
        pipeline_.emplace(stream_, format_, origin);
    }
    portion_ = 0;
    isFilling_ = true;
}

/// Makes the entry that sounds at `heard` begin there, and those after it at their own start.
void PlaybackWorker::skipTo(int64_t heard, int oldRate) {
    while (!schedule_.empty() && schedule_.front().end && *schedule_.front().end <= heard) {
        complete(schedule_.front());
        schedule_.pop_front();
    }
    for (ScheduleEntry& entry : schedule_) {
        if (entry.begin && *entry.begin < heard && oldRate > 0) {
            const int64_t played = std::llround(static_cast<double>(heard - *entry.begin) *
                                                entry.sourceRate / oldRate);
            entry.startFrame += played;
            if (entry.frameCount) {
                entry.frameCount = std::max<int64_t>(0, *entry.frameCount - played);
            }
        }
        entry.begin.reset();
        entry.end.reset();
    }
}

void PlaybackWorker::complete(ScheduleEntry& entry) {
    if (const CompletionHandler handler = std::exchange(entry.handler, nullptr)) {
        handler(CompletionCallbackType::dataPlayedBack);
    }
}

void PlaybackWorker::run() {
    while (runCommands()) {
        bool isBusy = fill();
        isBusy |= completeHeard();
        isBusy |= releaseTailInTime();
        if (isBusy) {
            continue;
        }
        if (stream_ && pipeline_->hasWork(schedule_)) {
            stream_->armRefill();
            if (stream_->isLow()) {
                isFilling_ = true;
                continue;
            }
        }
        reportIdle();
        signal_->wait(timeToNextEvent());
    }
    for (ScheduleEntry& entry : schedule_) {
        complete(entry);
    }
}

/// @return false when the thread is to end
bool PlaybackWorker::runCommands() {
    std::vector<Command> commands;
    bool isEnding = false;
    {
        const std::scoped_lock lock(mutex_);
        commands.swap(commands_);
        idleSeen_ = idleAsked_;
        isEnding = isEnding_;
    }
    for (const Command& command : commands) {
        command();
        patience_ = {};
    }
    return !isEnding;
}

void PlaybackWorker::reportIdle() {
    const std::scoped_lock lock(mutex_);
    if (commands_.empty() && idleReached_ < idleSeen_) {
        idleReached_ = idleSeen_;
        becameIdle_.notify_all();
    }
}

/// Decodes one portion, if the ring is being filled. The first is small, so that the sound begins
/// at once; then they grow to a second's worth.
bool PlaybackWorker::fill() {
    if (!pipeline_) {
        return false;
    }
    if (stream_->level() == 0) {
        portion_ = format_.sampleRate / 10;
    }
    if (stream_->isLow()) {
        isFilling_ = true;
    }
    if (!isFilling_ || !pipeline_->hasWork(schedule_)) {
        return false;
    }
    const int64_t published = pipeline_->feed(schedule_, portion_);
    portion_ = std::min<int64_t>(portion_ * 2, format_.sampleRate);
    isFilling_ = stream_->room().frames > 0;
    if (published > 0 && stream_->takeStarved()) {
        link_->wake();
    }
    return isFilling_;
}

bool PlaybackWorker::completeHeard() {
    bool isAny = false;
    while (!schedule_.empty() && schedule_.front().end &&
           *schedule_.front().end <= link_->framesHeard()) {
        ScheduleEntry entry = std::move(schedule_.front());
        schedule_.pop_front();
        complete(entry);
        isAny = true;
    }
    return isAny;
}

bool PlaybackWorker::isTailWaiting() const {
    return pipeline_ && pipeline_->isTailHeld() && !pipeline_->hasWork(schedule_);
}

bool PlaybackWorker::releaseTailInTime() {
    if (!isTailWaiting()) {
        return false;
    }
    const int64_t unheard = pipeline_->produced() - link_->framesHeard();
    if (unheard > format_.sampleRate * tailMilliseconds / 1000) {
        return false;
    }
    pipeline_->releaseTail();
    isFilling_ = true;
    return true;
}

std::optional<PlaybackWorker::Nanoseconds> PlaybackWorker::timeToNextEvent() {
    if (!isRunning_ || !pipeline_) {
        return std::nullopt;
    }
    std::optional<int64_t> event;
    if (!schedule_.empty()) {
        event = schedule_.front().end;
    }
    if (isTailWaiting()) {
        const int64_t release =
            pipeline_->produced() - format_.sampleRate * tailMilliseconds / 1000;
        event = event ? std::min(*event, release) : release;
    }
    if (!event) {
        return std::nullopt;
    }
    const int64_t heard = link_->framesHeard();
    const double seconds = static_cast<double>(*event - heard) / format_.sampleRate;
    const auto due =
        std::chrono::duration_cast<Nanoseconds>(std::chrono::duration<double>(seconds));
    // An output that has lost its server stands still: look again ever more seldom.
    patience_ = heard == heardBefore_ ? std::min<Nanoseconds>(patience_ * 2, longestPatience)
                                      : Nanoseconds(leastSleep);
    patience_ = std::max<Nanoseconds>(patience_, leastSleep);
    heardBefore_ = heard;
    return std::max(due + leastSleep, patience_);
}

}  // namespace halvenor
