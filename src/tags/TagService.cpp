#include "tags/TagService.h"

#include <QThread>

#include <algorithm>
#include <ctime>
#include <utility>

#include "base/AtomicFile.h"
#include "base/TemporaryFile.h"
#include "model/AudioExtensions.h"
#include "tags/TagReading.h"
#include "tags/TagWriting.h"

namespace halvenor {

namespace {

// A batch mostly waits for the disk, so one thread more than a single core is of use; beyond a few
// a disk gains nothing.
int batchThreads() {
    return std::clamp(QThread::idealThreadCount(), 2, 4);
}

QList<Track> readTracks(const QList<FileUrl>& urls, const std::stop_token& token) {
    QList<Track> tracks;
    tracks.reserve(urls.size());
    for (const FileUrl& url : urls) {
        if (token.stop_requested()) {
            throw Cancelled();
        }
        tracks.append(readTrack(url));
    }
    return tracks;
}

}  // namespace

TagService::TagService() : startedAt_(::time(nullptr)), batches_(batchThreads()) {}

TagService& TagService::shared() {
    return applicationOwned<TagService>();
}

const QSet<QByteArray>& TagService::supportedExtensions() {
    return halvenor::supportedExtensions();
}

bool TagService::isSupportedAudioFile(const FileUrl& url) {
    return supportedExtensions().contains(url.pathExtension().toLower());
}

bool TagService::supportsTagWriting(const FileUrl& url) {
    return hasTagWriter(url);
}

Job<Track> TagService::readMetadata(const FileUrl& url, std::stop_token token) {
    return single_.run([url](const std::stop_token&) { return readTrack(url); }, token);
}

Job<QList<Track>> TagService::readMetadata(const QList<FileUrl>& urls, std::stop_token token) {
    return batches_.run([urls](const std::stop_token& stop) { return readTracks(urls, stop); },
                        token);
}

Job<FileUrl> TagService::writeMetadata(const Track& track, std::stop_token token) {
    return single_.run(
        [this, track](const std::stop_token&) {
            sweepFolderOf(track.url());
            writeTrack(track);
            unflushedFiles_.append(track.url());
            return track.url();
        },
        token);
}

Job<std::monostate> TagService::flushWrites() {
    return single_.run(
        [this](const std::stop_token&) { flushFoldersOf(std::exchange(unflushedFiles_, {})); });
}

void TagService::sweepFolderOf(const FileUrl& url) {
    const FileUrl folder = url.deletingLastPathComponent();
    if (!sweptFolders_.contains(folder.path())) {
        sweptFolders_.insert(folder.path());
        removeAbandonedTemporaries(folder, startedAt_);
    }
}

}  // namespace halvenor
