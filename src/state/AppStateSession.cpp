#include <QPointer>

#include <algorithm>

#include "base/FileStatus.h"
#include "state/AppState.h"
#include "state/SettingsKeys.h"
#include "tags/TagService.h"

// The player comes back as it was left: volume, mute, repeat and shuffle at once, and then the
// track that was loaded last, paused where it was, in its folder. Each value is remembered when it
// changes; all of them together at a few fixed moments.
//
// The user may be faster than the second step. Whatever is loaded by then is left alone.

namespace halvenor {

void AppState::persistPlayer() {
    settings_.setNumber(settingsKeys::volume, static_cast<double>(*audioEngine_.volume));
    settings_.setBoolean(settingsKeys::isMuted, *audioEngine_.isMuted);
    settings_.setString(settingsKeys::repeatMode, rawValue(*repeatMode));
    settings_.setBoolean(settingsKeys::isShuffleEnabled, *isShuffleEnabled);
    if (const auto& track = *audioEngine_.currentTrack) {
        settings_.setPath(settingsKeys::lastTrackPath, track->url().standardized().path());
        settings_.setNumber(settingsKeys::lastPosition, *audioEngine_.currentTime);
    }
}

void AppState::restorePlayer() {
    if (const auto volume = settings_.number(settingsKeys::volume)) {
        audioEngine_.setVolume(static_cast<float>(*volume));
    }
    // After the volume, which is then what unmuting goes back to.
    if (settings_.boolean(settingsKeys::isMuted).value_or(false)) {
        audioEngine_.toggleMute();
    }
    if (const auto word = settings_.string(settingsKeys::repeatMode)) {
        if (const auto mode = repeatModeFromRawValue(*word)) {
            repeatMode = *mode;
        } else if (*word == QStringLiteral("one")) {
            repeatMode = RepeatMode::off;  // A mode that there was once.
        }
    }
    isShuffleEnabled = settings_.boolean(settingsKeys::isShuffleEnabled).value_or(false);
}

void AppState::restoreLastPlaybackSession() {
    const QByteArray path = settings_.path(settingsKeys::lastTrackPath).value_or(QByteArray());
    if (path.isEmpty()) {
        return;
    }
    const FileUrl url = FileUrl(path).standardized();
    if (!itemExists(url)) {
        return;
    }
    const double position = std::max(settings_.number(settingsKeys::lastPosition).value_or(0), 0.0);
    playbackRestoreTask_.start(
        [&](std::stop_token token) { return playbackRestore(url, position, token); });
}

Task<> AppState::playbackRestore(FileUrl url, double position, std::stop_token token) {
    const QPointer<AppState> self(this);
    auto reading = TagService::shared().readMetadata(url, token);
    const Track track = co_await reading;
    if (token.stop_requested() || !self || *audioEngine_.currentTrack) {
        co_return;
    }
    audioEngine_.load(track, position, false);
    playingQueue = TrackList{track};
    const FileUrl folder = url.deletingLastPathComponent().standardized();
    const std::optional<FolderItem> root = deepestRootContaining(folder.path());
    if (!root) {
        playbackQueue = TrackList{track};
        currentIndex = 0;
        co_return;
    }
    isListRestoring_ = true;
    auto walk = navigateToFolder(folder, *root, token);
    co_await walk;
    if (token.stop_requested() || !self) {
        co_return;
    }
    isListRestoring_ = false;
    if (isCurrent(url)) {
        resumeListOf(url);
    }
}

bool AppState::isCurrent(const FileUrl& url) const {
    const auto& track = *audioEngine_.currentTrack;
    return track && track->url().standardized() == url;
}

// The list on show becomes the one that plays, if the track is in it: the way to its folder may be
// gone, and the user may have opened another one meanwhile.
void AppState::resumeListOf(const FileUrl& url) {
    const qsizetype row = indexOfUrl(*playbackQueue, url);
    if (row >= 0) {
        playingQueue = *playbackQueue;
        currentIndex = row;
        shuffleOrder_.clear();  // An order that there is by now is of a list of one.
        shufflePosition_ = 0;
    }
    refreshGaplessQueue();
    scheduleNextFolderPreparation();
}

void AppState::restoreLastTrackSelectionIfNeeded() {
    if (*selectedTrack) {
        return;
    }
    const auto path = settings_.path(settingsKeys::lastTrackPath);
    const qsizetype row = path ? playbackQueue->indexOfId(*path) : -1;
    if (row >= 0) {
        selectedTrack = playbackQueue->at(row);
        ensureWaveformLoaded();
        currentIndex = row;
    }
}

}  // namespace halvenor
