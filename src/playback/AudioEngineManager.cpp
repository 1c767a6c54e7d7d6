#include "playback/AudioEngineManager.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "base/FileStatus.h"
#include "base/MainThread.h"
#include "model/ID3WriterError.h"
#include "playback/ScheduleDecisions.h"

// Gapless playing rests on one idea: the next file is handed to the same node while the present
// one still sounds, so that the node runs from the last frame of one into the first of the next by
// itself. Nothing on the main thread is on that path; a late main thread costs a late display.
//
// What a node has queued can't be taken back singly. To withdraw or replace the queued file, to
// seek and to load, the whole schedule is thrown away and made anew; files are opened before that,
// so that a failure leaves what sounds alone.
//
// Records are copied before anything is published: an observer may call back into the manager.

namespace halvenor {

namespace {

constexpr std::chrono::milliseconds progressInterval{100};

std::exception_ptr missingFile(const FileUrl& url) {
    return std::make_exception_ptr(ID3WriterError::ioError(QStringLiteral("File not found: ") +
                                                           displayText(url.lastPathComponent())));
}

}  // namespace

AudioEngineManager::AudioEngineManager(std::unique_ptr<AudioOutput> output, FileOpener openFile,
                                       std::unique_ptr<AudioOutputDeviceService> devices,
                                       Settings* settings)
    : openFile_(std::move(openFile)),
      engine_(std::move(output), playerNode_),
      deviceService_(std::move(devices)),
      settings_(settings),
      self_(std::make_shared<AudioEngineManager*>(this)) {
    playerNode_.setVolume(*volume);
    engine_.onConfigurationChange = [this] { outputChangedItsFormat(); };
    progressTimer_.setInterval(progressInterval);
    progressTimer_.setTimerType(Qt::CoarseTimer);
    QObject::connect(&progressTimer_, &QTimer::timeout, &progressTimer_,
                     [this] { updateCurrentTime(); });
    startDevices();
}

AudioEngineManager::~AudioEngineManager() {
    self_.reset();
    if (deviceService_) {
        deviceService_->removeHardwareChangeListener(hardwareChangeListener_);
    }
    engine_.onConfigurationChange = nullptr;
    engine_.onDeviceLost = nullptr;
    engine_.stop();
    invalidateSchedule();
}

void AudioEngineManager::load(Track track, double position, bool autoplay) {
    if (!itemExists(track.url())) {
        reportFailure(track, missingFile(track.url()));
        return;
    }
    auto opened = openOrReport(track);
    if (!opened) {
        return;
    }
    invalidateSchedule();
    ScheduledTrack entry = makeEntry(track, std::move(*opened));
    const double start = loadPosition(position, entry.duration);
    setTimeline(start, std::nullopt);
    currentTrack = track;
    duration = entry.duration;
    currentTime = start;
    schedule(std::move(entry), start);
    try {
        startEngineIfNeeded();
    } catch (...) {
        invalidateSchedule();
        reportFailure(track, std::current_exception());
        return;
    }
    if (autoplay) {
        startPlaying();
    } else {
        playerNode_.pause();
        setPlaying(false);
    }
}

void AudioEngineManager::resume() {
    const std::optional<Track> current = *currentTrack;
    if (!current) {
        return;
    }
    try {
        startEngineIfNeeded();
    } catch (...) {
        reportFailure(*current, std::current_exception());
        return;
    }
    startPlaying();
}

void AudioEngineManager::pause() {
    updateCurrentTime();
    playerNode_.pause();
    setPlaying(false);
}

void AudioEngineManager::togglePlayPause() {
    if (!*currentTrack) {
        return;
    }
    if (*isPlaying) {
        pause();
    } else {
        resume();
    }
}

void AudioEngineManager::stop() {
    updateCurrentTime();
    invalidateSchedule();
    setTimeline(0, std::nullopt);
    setPlaying(false);
    currentTime = 0;
}

void AudioEngineManager::seek(double time) {
    restartCurrentTrack(seekPosition(time, *duration), queuedTrack());
}

// The shape of everything that changes what is queued while the current track goes on: open first,
// throw away only when that has worked, then play on as before.
void AudioEngineManager::restartCurrentTrack(double position, const std::optional<Track>& next) {
    const std::optional<Track> current = *currentTrack;
    if (!current) {
        return;
    }
    const bool wasPlaying = *isPlaying;
    auto opened = openOrReport(*current);
    if (!opened) {
        return;
    }
    invalidateSchedule();
    ScheduledTrack entry = makeEntry(*current, std::move(*opened));
    setTimeline(position, std::nullopt);
    duration = entry.duration;
    if (*currentTime != position) {
        currentTime = position;
    }
    schedule(std::move(entry), position);
    if (next) {
        appendNextTrack(*next);
    }
    if (wasPlaying) {
        resume();
    }
}

void AudioEngineManager::setNextTrack(const std::optional<Track>& next) {
    if (!*currentTrack) {
        return;
    }
    const auto urlOf = [](const std::optional<Track>& track) {
        return track ? std::optional(track->url()) : std::nullopt;
    };
    switch (nextTrackStep(scheduledTracks_.size(), urlOf(queuedTrack()), urlOf(next))) {
        case NextTrackStep::nothing:
            break;
        case NextTrackStep::refreshRecord:
            scheduledTracks_[1].track = *next;
            break;
        case NextTrackStep::append:
            appendNextTrack(*next);
            break;
        case NextTrackStep::rebuild:
            updateCurrentTime();
            restartCurrentTrack(*currentTime, next);
            break;
    }
}

void AudioEngineManager::preloadNextTrackIfNeeded(const Track& track) {
    if (*currentTrack && scheduledTracks_.size() == 1) {
        appendNextTrack(track);
    }
}

std::optional<Track> AudioEngineManager::queuedTrack() const {
    return scheduledTracks_.size() > 1 ? std::optional(scheduledTracks_[1].track) : std::nullopt;
}

void AudioEngineManager::setVolume(float value) {
    if (std::isnan(value)) {
        return;
    }
    volume = std::clamp(value, 0.0F, 1.0F);
    if (*volume > 0 && *isMuted) {
        isMuted = false;
    }
    applyNodeVolume();
}

void AudioEngineManager::toggleMute() {
    if (*isMuted) {
        isMuted = false;
        setVolume(volumeBeforeMute_);
    } else {
        volumeBeforeMute_ = *volume;
        isMuted = true;
        applyNodeVolume();
    }
}

void AudioEngineManager::applyNodeVolume() {
    playerNode_.setVolume(*isMuted ? 0 : *volume);
}

void AudioEngineManager::relocatePaths(const MoveTable& moves) {
    for (ScheduledTrack& entry : scheduledTracks_) {
        entry.track =
            entry.track.relocated(remapped(entry.track.url().standardized().path(), moves));
    }
    if (const std::optional<Track> current = *currentTrack) {
        const QByteArray path = current->url().standardized().path();
        const QByteArray newPath = remapped(path, moves);
        if (newPath != path) {
            currentTrack = current->relocated(newPath);
        }
    }
}

void AudioEngineManager::updateCurrentTime() {
    if (!*isPlaying || !(*duration > 0)) {
        return;
    }
    const std::optional<int64_t> sample = playerNode_.sampleTime();
    if (!sample) {
        return;
    }
    if (!timelineStartSample_) {
        timelineStartSample_ = sample;
    }
    const double rate = playerNode_.outputSampleRate();
    if (!(rate > 0)) {
        return;
    }
    currentTime =
        positionAt(timelineBasePosition_, *timelineStartSample_, *sample, rate, *duration);
}

std::optional<PlaybackFile> AudioEngineManager::openOrReport(const Track& track) {
    if (!leftoverAliasesRemoved_) {
        leftoverAliasesRemoved_ = true;  // Before any alias of our own is there.
        PlaybackAlias::removeLeftovers();
    }
    try {
        return openForPlayback(track.url(), openFile_);
    } catch (...) {
        reportFailure(track, std::current_exception());
        return std::nullopt;
    }
}

AudioEngineManager::ScheduledTrack AudioEngineManager::makeEntry(const Track& track,
                                                                 PlaybackFile opened) {
    const double seconds = measuredDuration(
        opened.file->length(), opened.file->processingFormat().sampleRate, track.duration());
    return ScheduledTrack{QUuid::createUuid(), track, std::move(opened), seconds};
}

void AudioEngineManager::schedule(ScheduledTrack entry, double position) {
    const std::weak_ptr<AudioEngineManager*> self = self_;
    const uint64_t generation = scheduleGeneration_;
    CompletionHandler handler = [self, id = entry.id, generation](CompletionCallbackType type) {
        if (type != CompletionCallbackType::dataPlayedBack) {
            return;
        }
        postToMainThread([self, id, generation] {
            if (const auto manager = self.lock()) {
                (*manager)->scheduledTrackFinished(id, generation);
            }
        });
    };
    const std::shared_ptr<AudioFile> file = entry.opened.file;
    const auto startFrame =
        startFrameAt(position, file->length(), file->processingFormat().sampleRate);
    scheduledTracks_.push_back(std::move(entry));
    if (startFrame) {
        playerNode_.scheduleSegment(file, *startFrame, toTheEnd, std::move(handler));
    } else {
        playerNode_.scheduleFile(file, std::move(handler));
    }
}

void AudioEngineManager::scheduledTrackFinished(const QUuid& id, uint64_t generation) {
    if (generation != scheduleGeneration_) {
        return;
    }
    if (scheduledTracks_.empty() || scheduledTracks_.front().id != id) {
        return;
    }
    scheduledTracks_.erase(scheduledTracks_.begin());
    if (scheduledTracks_.empty()) {
        timelineStartSample_.reset();
        currentTime = *duration;
        setPlaying(false);
        if (onPlaybackEnded) {
            onPlaybackEnded();
        }
        return;
    }
    const Track next = scheduledTracks_.front().track;
    const double nextDuration = scheduledTracks_.front().duration;
    setTimeline(0, playerNode_.sampleTime());
    currentTrack = next;
    duration = nextDuration;
    currentTime = 0;
    if (onGaplessTransition) {
        onGaplessTransition(next);
    }
}

void AudioEngineManager::appendNextTrack(const Track& track) {
    // One that is gone by now is no failure yet: it becomes one when it is to be played.
    if (!itemExists(track.url())) {
        return;
    }
    if (auto opened = openOrReport(track)) {
        schedule(makeEntry(track, std::move(*opened)), 0);
    }
}

void AudioEngineManager::invalidateSchedule() {
    // First the generation: stopping the node fires the handlers of what it had, and each of them
    // must find itself out of date.
    ++scheduleGeneration_;
    playerNode_.stop();
    scheduledTracks_.clear();
}

void AudioEngineManager::startEngineIfNeeded() {
    if (!engine_.isRunning()) {
        startOnChosenDevice();
    }
}

void AudioEngineManager::waitUntilIdle() {
    playerNode_.waitUntilIdle();
}

void AudioEngineManager::startPlaying() {
    playerNode_.play();
    setPlaying(true);
    // The first reading after a restart is where the timeline begins, so it is taken at once.
    updateCurrentTime();
}

// Progress is read ten times a second while something plays; an idle player wakes nobody.
void AudioEngineManager::setPlaying(bool playing) {
    if (playing) {
        progressTimer_.start();
    } else {
        progressTimer_.stop();
    }
    isPlaying = playing;
}

void AudioEngineManager::setTimeline(double basePosition, std::optional<int64_t> startSample) {
    timelineBasePosition_ = basePosition;
    timelineStartSample_ = startSample;
}

void AudioEngineManager::reportFailure(const Track& track, const std::exception_ptr& error) const {
    if (onLoadFailed) {
        onLoadFailed(track, error);
    }
}

// Nothing is opened where nothing is scheduled: the next load does that.
void AudioEngineManager::outputChangedItsFormat() {
    if (scheduledTracks_.empty()) {
        engine_.stop();
        if (*isPlaying) {
            setPlaying(false);
        }
        return;
    }
    try {
        reopenOutput(requestedDevice_);
    } catch (...) {
        outputFailed(std::current_exception());
    }
}

// The node keeps its schedule and its place over this, whatever the new device's format; open files
// stay open.
void AudioEngineManager::reopenOutput(const QString& device) {
    updateCurrentTime();
    engine_.stop();
    requestedDevice_ = device;
    engine_.output().setDevice(device);
    if (!*currentTrack) {
        return;
    }
    setTimeline(*currentTime, std::nullopt);
    engine_.start();
    if (*isPlaying) {
        playerNode_.play();
        updateCurrentTime();
    }
}

// The output could not be opened again. What is scheduled waits for the next resume().
void AudioEngineManager::outputFailed(const std::exception_ptr& error) {
    setPlaying(false);
    if (const std::optional<Track> current = *currentTrack) {
        reportFailure(*current, error);
    }
}

}  // namespace halvenor
