#include <algorithm>
#include <numeric>

#include "base/FileStatus.h"
#include "base/MoveTable.h"
#include "state/AppState.h"
#include "state/SettingsKeys.h"

// What plays next. The engine is told at every moment which one track must follow the current one,
// so that it can join them without a gap; when it has moved on by itself, the index follows.
//
// A user's choice is found by id, a transition by standardised URL: the two are not the same.

namespace halvenor {

namespace {

constexpr qsizetype historyLength = 30;

// Whether `path` is `folder`, a slash and a name: then its folder needs no working out.
bool isPlainlyIn(const QByteArray& path, const QByteArray& folder) {
    const qsizetype slash = folder.size();
    return path.startsWith(folder) && path.lastIndexOf('/') == slash && path.size() > slash + 1 &&
           path.at(slash + 1) != '.';
}

FileUrl folderOf(const Track& track) {
    return track.url().deletingLastPathComponent().standardized();
}

std::optional<FileUrl> commonFolderOf(const TrackList& tracks) {
    if (tracks.isEmpty()) {
        return std::nullopt;
    }
    const FileUrl folder = folderOf(tracks.first());
    const bool isCommon = std::all_of(tracks.begin(), tracks.end(), [&](const Track& track) {
        return isPlainlyIn(track.url().path(), folder.path()) || folderOf(track) == folder;
    });
    return isCommon ? std::optional(folder) : std::nullopt;
}

bool isRowOf(const TrackList& tracks, qsizetype row) {
    return row >= 0 && row < tracks.size();
}

}  // namespace

qsizetype AppState::indexOfUrl(const TrackList& tracks, const FileUrl& url) {
    const FileUrl wanted = url.standardized();
    for (qsizetype row = 0; row < tracks.size(); ++row) {
        if (tracks[row].url().standardized() == wanted) {
            return row;
        }
    }
    return -1;
}

bool AppState::isShuffling() const {
    return *isShuffleEnabled && playingQueue->size() >= 2;
}

bool AppState::isAtEndOfPlayingQueue() const {
    return isShuffling() ? shufflePosition_ >= static_cast<qsizetype>(shuffleOrder_.size())
                         : *currentIndex + 1 >= playingQueue->size();
}

// Asked whenever the last track of a list is told what follows it, and so with each batch of tags:
// a list of ten thousand is gone through once.
std::optional<FileUrl> AppState::playingSourceFolderURL() const {
    const auto rows = playingQueue->rowsIdentity();
    if (rows != commonFolder_.rows) {
        commonFolder_.folder = commonFolderOf(*playingQueue);
        commonFolder_.rows = rows;
    }
    const auto& folder = commonFolder_.folder;
    const bool isInLibrary =
        folder && std::ranges::any_of(*rootFolders, [&](const FolderItem& root) {
            return inside(folder->path(), root.id());
        });
    return isInLibrary ? folder : std::nullopt;
}

void AppState::play(const Track& track) {
    const qsizetype shownRow = playbackQueue->indexOfId(track.id());
    const qsizetype playingRow = shownRow >= 0 ? -1 : playingQueue->indexOfId(track.id());
    if (shownRow >= 0) {
        playingQueue = *playbackQueue;
        currentIndex = shownRow;
    } else if (playingRow >= 0) {
        currentIndex = playingRow;
        playingQueue.mutate([&](TrackList& playing) { playing.replace(playingRow, track); });
    } else {
        playingQueue = TrackList{track};
        currentIndex = 0;
    }
    if (*isShuffleEnabled) {
        rebuildShuffleOrder(*currentIndex);
    }
    loadAndPlay(track);
}

void AppState::loadAndPlay(const Track& track) {
    if (!itemExists(track.url())) {
        playbackErrorMessage =
            QStringLiteral("File not found: ") + displayText(track.url().lastPathComponent());
        return;
    }
    isListRestoring_ = false;
    addToPlaybackHistory(*audioEngine_.currentTrack);
    audioEngine_.load(track, 0, true);
    refreshGaplessQueue();
    scheduleNextFolderPreparation();
    persistPlayer();
}

void AppState::playNext() {
    if (playingQueue->isEmpty()) {
        return;
    }
    const auto orderLength = static_cast<qsizetype>(shuffleOrder_.size());
    bool hasNext = true;
    if (isShuffling()) {
        if (shufflePosition_ >= orderLength) {
            hasNext = *repeatMode == RepeatMode::all;
            if (hasNext) {
                rebuildShuffleOrder(std::nullopt);
            }
        }
        if (hasNext) {
            currentIndex = shuffleOrder_[static_cast<size_t>(shufflePosition_++)];
        }
    } else if (*currentIndex + 1 < playingQueue->size()) {
        currentIndex = *currentIndex + 1;
    } else if (*repeatMode == RepeatMode::all) {
        currentIndex = 0;
    } else {
        hasNext = false;
    }
    if (hasNext) {
        loadAndPlay(playingQueue->at(*currentIndex));
    } else if (*repeatMode == RepeatMode::nextFolder) {
        advanceToNextFolderWhenReady();
    } else {
        audioEngine_.stop();
    }
}

bool AppState::hasNext() const {
    if (!*audioEngine_.currentTrack || playingQueue->isEmpty()) {
        return false;
    }
    return *currentIndex + 1 < playingQueue->size() || *repeatMode != RepeatMode::off;
}

bool AppState::hasPrevious() const {
    if (!*audioEngine_.currentTrack || playingQueue->isEmpty()) {
        return false;
    }
    return *currentIndex > 0 || *repeatMode == RepeatMode::all;
}

// However far the track has played, this goes to the one before; where there is none, it restarts.
void AppState::playPrevious() {
    if (playingQueue->isEmpty()) {
        return;
    }
    if (isShuffling()) {
        if (shufflePosition_ >= 2) {
            --shufflePosition_;
            currentIndex = shuffleOrder_[static_cast<size_t>(shufflePosition_ - 1)];
        }
    } else if (*currentIndex >= 1) {
        currentIndex = *currentIndex - 1;
    } else if (*repeatMode == RepeatMode::all) {
        currentIndex = playingQueue->size() - 1;
    }
    loadAndPlay(playingQueue->at(*currentIndex));
}

void AppState::rebuildShuffleOrder(std::optional<qsizetype> pinning) {
    shuffleOrder_.resize(static_cast<size_t>(playingQueue->size()));
    std::iota(shuffleOrder_.begin(), shuffleOrder_.end(), 0);
    shufflePosition_ = 0;
    if (shuffleOrder_.empty()) {
        return;
    }
    auto firstShuffled = shuffleOrder_.begin();
    if (pinning) {
        std::erase(shuffleOrder_, *pinning);
        firstShuffled = shuffleOrder_.insert(shuffleOrder_.begin(), *pinning) + 1;
        shufflePosition_ = 1;
    }
    std::shuffle(firstShuffled, shuffleOrder_.end(), random_);
}

// While music plays, the track that is queued stays queued; the new order begins after it.
void AppState::toggleShuffle() {
    isShuffleEnabled = !*isShuffleEnabled;
    if (*isShuffleEnabled) {
        rebuildShuffleOrder(*currentIndex);
    }
    settings_.setBoolean(settingsKeys::isShuffleEnabled, *isShuffleEnabled);
    if (!*audioEngine_.isPlaying) {
        refreshGaplessQueue();
    }
}

void AppState::repeatModeChanged(RepeatMode mode) {
    settings_.setString(settingsKeys::repeatMode, rawValue(mode));
    if (!*audioEngine_.isPlaying) {
        refreshGaplessQueue();
    }
    scheduleNextFolderPreparation();
}

void AppState::cycleRepeatMode() {
    switch (*repeatMode) {
        case RepeatMode::off:
            repeatMode = RepeatMode::all;
            break;
        case RepeatMode::all:
            repeatMode = RepeatMode::nextFolder;
            break;
        case RepeatMode::nextFolder:
            repeatMode = RepeatMode::off;
            break;
    }
}

void AppState::addToPlaybackHistory(const std::optional<Track>& track) {
    if (!track) {
        return;
    }
    if (!playbackHistory->isEmpty() && playbackHistory->first().id() == track->id()) {
        return;
    }
    TrackList history{*track};
    for (const Track& earlier : *playbackHistory) {
        if (history.size() == historyLength) {
            break;
        }
        history.append(earlier);
    }
    playbackHistory = history;
}

void AppState::refreshGaplessQueue() {
    if (*audioEngine_.currentTrack && !isListRestoring_) {
        audioEngine_.setNextTrack(gaplessNextTrack());
    }
}

std::optional<Track> AppState::gaplessNextTrack() {
    if (playingQueue->isEmpty() || !*audioEngine_.currentTrack) {
        return std::nullopt;
    }
    if (const auto next = nextInPlayingQueue()) {
        return next;
    }
    const auto* prepared = preparedForPlayingFolder();
    return prepared != nullptr ? std::optional(prepared->contents.tracks.first()) : std::nullopt;
}

std::optional<Track> AppState::nextInPlayingQueue() {
    if (isShuffling()) {
        if (shuffleOrder_.empty()) {
            rebuildShuffleOrder(*currentIndex);
        }
        if (shufflePosition_ >= static_cast<qsizetype>(shuffleOrder_.size()) &&
            *repeatMode == RepeatMode::all) {
            // Pinned, unlike playNext's new round: here the current track must not follow itself.
            rebuildShuffleOrder(*currentIndex);
        }
        if (shufflePosition_ < static_cast<qsizetype>(shuffleOrder_.size())) {
            return playingQueue->at(shuffleOrder_[static_cast<size_t>(shufflePosition_)]);
        }
        return std::nullopt;
    }
    if (*currentIndex + 1 < playingQueue->size()) {
        return playingQueue->at(*currentIndex + 1);
    }
    if (*repeatMode == RepeatMode::all) {
        return playingQueue->first();
    }
    return std::nullopt;
}

// The user may have acted since the engine moved on, so nothing is assumed about the index.
void AppState::handleGaplessTransition(const Track& track) {
    if (isRowOf(*playingQueue, *currentIndex)) {
        addToPlaybackHistory(playingQueue->at(*currentIndex));
    }
    const FileUrl url = track.url().standardized();
    if (*repeatMode == RepeatMode::nextFolder && preparedNextFolderTransition_ &&
        preparedNextFolderTransition_->contents.tracks.first().url().standardized() == url) {
        activateNextFolder(*preparedNextFolderTransition_, track);
        persistPlayer();
        refreshGaplessQueue();
        scheduleNextFolderPreparation();
        return;
    }
    const bool hasOrderLeft =
        isShuffling() && shufflePosition_ < static_cast<qsizetype>(shuffleOrder_.size());
    const qsizetype expected =
        hasOrderLeft ? shuffleOrder_[static_cast<size_t>(shufflePosition_)] : -1;
    if (isRowOf(*playingQueue, expected) &&
        playingQueue->at(expected).url().standardized() == url) {
        currentIndex = expected;
        ++shufflePosition_;
    } else if (const qsizetype row = indexOfUrl(*playingQueue, url); row >= 0) {
        // Queued from an older order, or a wrap around to the head of the list.
        currentIndex = row;
    }
    persistPlayer();
    refreshGaplessQueue();
}

}  // namespace halvenor
