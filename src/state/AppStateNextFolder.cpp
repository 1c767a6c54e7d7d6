#include <QPointer>

#include <utility>

#include "model/scanner/FolderScanner.h"
#include "state/AppState.h"
#include "tags/TagService.h"

// "Continue with Next Folder": the folder that plays next is found and read while this one plays,
// so that its first track is queued before the last one here ends and the sound runs on by itself.
// The tree, the lists and the selection follow a moment after the music.
//
// What is prepared is good for one source folder. After each wait, and at each use, the source that
// it was made for is compared with the one that plays now.

namespace halvenor {

namespace {

// The next folder with music, its first track as it will be shown at the moment of the join.
Task<std::optional<PreparedFolderTransition>> prepareTransition(FileUrl source,
                                                                std::vector<FileUrl> roots,
                                                                std::stop_token token) {
    auto search = FolderScanner::shared().nextPlayableFolder(source, roots, token);
    std::optional<PlayableFolderSnapshot> found = co_await search;
    if (token.stop_requested() || !found || found->contents.tracks.isEmpty()) {
        co_return std::nullopt;
    }
    auto reading = TagService::shared().readMetadata(found->contents.tracks.first().url(), token);
    const Track first = co_await reading;
    if (token.stop_requested()) {
        co_return std::nullopt;
    }
    found->contents.tracks.replace(0, first);
    PreparedFolderTransition prepared(source.standardized().path(), found->folder, found->contents);
    co_return std::optional<PreparedFolderTransition>(std::move(prepared));
}

std::vector<FileUrl> urlsOf(const FolderList& folders) {
    std::vector<FileUrl> urls;
    urls.reserve(folders.size());
    for (const FolderItem& folder : folders) {
        urls.push_back(folder.url());
    }
    return urls;
}

}  // namespace

bool AppState::continuesAfter(const FileUrl& source) const {
    return *repeatMode == RepeatMode::nextFolder && playingSourceFolderURL() == source;
}

const PreparedFolderTransition* AppState::preparedForPlayingFolder() const {
    const bool isOfUse = preparedNextFolderTransition_ &&
                         continuesAfter(FileUrl(preparedNextFolderTransition_->sourceFolderPath));
    return isOfUse ? &*preparedNextFolderTransition_ : nullptr;
}

void AppState::scheduleNextFolderPreparation() {
    if (preparedForPlayingFolder() != nullptr) {
        return;
    }
    nextFolderPreparationTask_.cancel();
    preparedNextFolderTransition_.reset();
    if (*repeatMode != RepeatMode::nextFolder) {
        return;
    }
    if (const auto source = playingSourceFolderURL()) {
        nextFolderPreparationTask_.start(
            [&](std::stop_token token) { return nextFolderPreparation(*source, token); });
    }
}

Task<> AppState::nextFolderPreparation(FileUrl source, std::stop_token token) {
    const QPointer<AppState> self(this);
    auto preparing = prepareTransition(source, urlsOf(*rootFolders), token);
    const std::optional<PreparedFolderTransition> prepared = co_await preparing;
    if (token.stop_requested() || !self || !prepared || !continuesAfter(source)) {
        co_return;
    }
    preparedNextFolderTransition_ = prepared;
    nextFolderPreparationTask_.clear();
    if (isAtEndOfPlayingQueue()) {
        // The last track plays already, so nothing else will ask again what follows.
        audioEngine_.preloadNextTrackIfNeeded(prepared->contents.tracks.first());
    }
}

void AppState::activateNextFolder(PreparedFolderTransition prepared,
                                  const Track& transitionedTrack) {
    preparedNextFolderTransition_.reset();
    const TrackList& tracks = prepared.contents.tracks;
    storeListing(prepared.folder.id(), prepared.contents);
    selectedFolder = prepared.folder;
    openPlaylist = std::nullopt;
    playbackQueue = tracks;
    playingQueue = tracks;
    currentIndex = std::max<qsizetype>(indexOfUrl(tracks, transitionedTrack.url()), 0);
    selectedTrackIDs = QSet<QByteArray>();
    if (*isShuffleEnabled) {
        rebuildShuffleOrder(*currentIndex);
    }
    startMetadataEnrichment(prepared.folder.id());
    revealFolderInTree(prepared.folder);
}

// Where the gapless way over was not taken: the user wanted the next track, or the list has ended
// before its follower was found. In the latter case the music pauses, and goes on when it is.
void AppState::advanceToNextFolderWhenReady() {
    if (const auto* prepared = preparedForPlayingFolder()) {
        startPreparedNextFolder(*prepared);
        return;
    }
    audioEngine_.stop();
    const auto source = playingSourceFolderURL();
    if (*repeatMode == RepeatMode::nextFolder && source) {
        nextFolderPreparationTask_.start(
            [&](std::stop_token token) { return nextFolderAdvance(*source, token); });
    }
}

Task<> AppState::nextFolderAdvance(FileUrl source, std::stop_token token) {
    const QPointer<AppState> self(this);
    auto preparing = prepareTransition(source, urlsOf(*rootFolders), token);
    const std::optional<PreparedFolderTransition> prepared = co_await preparing;
    if (token.stop_requested() || !self || !prepared || !continuesAfter(source)) {
        co_return;
    }
    nextFolderPreparationTask_.clear();
    startPreparedNextFolder(*prepared);
}

void AppState::startPreparedNextFolder(PreparedFolderTransition prepared) {
    const Track first = prepared.contents.tracks.first();
    activateNextFolder(std::move(prepared), first);
    loadAndPlay(first);
}

}  // namespace halvenor
