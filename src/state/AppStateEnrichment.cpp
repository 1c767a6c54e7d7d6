#include <QPointer>

#include <algorithm>
#include <deque>
#include <utility>

#include "state/AppState.h"
#include "tags/TagService.h"

// Tags of the open folder. Files are read a few batches ahead, side by side on the idle cores, and
// published strictly in listing order, eight at a time: the list fills from the top, and each step
// costs the eight tracks that changed, whatever the length of the list.

namespace halvenor {

namespace {

constexpr qsizetype batchSize = 8;  // tracks published together
constexpr size_t batchesAhead = 6;  // read before they are needed

bool isUnread(const Track& track) {
    return !(track.duration() > 0);
}

}  // namespace

void AppState::startMetadataEnrichment(const QByteArray& folderID) {
    if (!*selectedFolder || (*selectedFolder)->id() != folderID) {
        return;
    }
    const TrackList tracks = folderTracks->value(folderID);
    std::vector<qsizetype> unread;
    for (qsizetype row = 0; row < tracks.size(); ++row) {
        if (isUnread(tracks[row])) {
            unread.push_back(row);
        }
    }
    if (unread.empty()) {
        metadataLoadingFolderID = std::nullopt;
        return;
    }
    metadataLoadTask_.cancel();
    metadataLoadingFolderID = folderID;
    metadataLoadTask_.start([&](std::stop_token token) {
        return enrichmentTask(folderID, tracks, std::move(unread), token);
    });
}

Task<> AppState::enrichmentTask(QByteArray folderID, TrackList tracks,
                                std::vector<qsizetype> unread, std::stop_token token) {
    const QPointer<AppState> self(this);
    const auto count = static_cast<qsizetype>(unread.size());
    std::deque<Job<QList<Track>>> ahead;
    qsizetype requested = 0;
    for (qsizetype published = 0; published < count; published += batchSize) {
        while (ahead.size() < batchesAhead && requested < count) {
            QList<FileUrl> urls;
            for (const qsizetype end = std::min(requested + batchSize, count); requested < end;
                 ++requested) {
                urls.append(tracks[unread[static_cast<size_t>(requested)]].url());
            }
            ahead.push_back(TagService::shared().readMetadata(urls, token));
        }
        auto job = ahead.front();
        ahead.pop_front();
        const QList<Track> batch = co_await job;
        if (token.stop_requested() || !self) {
            co_return;
        }
        for (qsizetype i = 0; i < batch.size(); ++i) {
            tracks.replace(unread[static_cast<size_t>(published + i)], batch[i]);
        }
        publishEnriched(folderID, tracks, batch);
        co_await yieldToEventLoop();
        if (token.stop_requested() || !self) {
            co_return;
        }
    }
    if (*metadataLoadingFolderID == folderID) {
        metadataLoadingFolderID = std::nullopt;
    }
}

void AppState::publishEnriched(const QByteArray& folderID, const TrackList& tracks,
                               const QList<Track>& changed) {
    folderTracks.mutate([&](auto& all) { all.insert(folderID, tracks); });
    if (*selectedFolder && (*selectedFolder)->id() == folderID) {
        playbackQueue = tracks;
    }
    if (playingQueue->hasSameRowsAs(tracks)) {
        playingQueue = tracks;
    } else {
        playingQueue.mutate([&](TrackList& playing) { playing.updateById(changed); });
    }
    if (*selectedTrack) {
        const qsizetype row = tracks.indexOfId((*selectedTrack)->id());
        if (row >= 0 && !tracks[row].sharesRecordWith(**selectedTrack)) {
            selectedTrack = tracks[row];
        }
    }
    refreshGaplessQueue();
}

void AppState::applyMetadataUpdates(const QList<Track>& tracks) {
    playbackQueue.mutate([&](TrackList& shown) { shown.updateById(tracks); });
    playingQueue.mutate([&](TrackList& playing) { playing.updateById(tracks); });
    if (*selectedFolder && folderTracks->contains((*selectedFolder)->id())) {
        folderTracks.mutate([&](auto& all) { all[(*selectedFolder)->id()].updateById(tracks); });
    }
    const auto update = [&tracks](Published<std::optional<Track>>& place) {
        if (!*place) {
            return;
        }
        // The last record wins where two have one id.
        const auto found = std::find_if(tracks.rbegin(), tracks.rend(), [&](const Track& track) {
            return track.id() == (*place)->id();
        });
        if (found != tracks.rend()) {
            place = *found;
        }
    };
    update(selectedTrack);
    // What sounds is the file as it was opened; what is told of it is what it says now.
    update(audioEngine_.currentTrack);
    refreshGaplessQueue();
}

}  // namespace halvenor
