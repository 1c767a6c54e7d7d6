#pragma once

#include <QList>
#include <QSet>

#include <variant>

#include "base/ApplicationOwned.h"
#include "base/FileUrl.h"
#include "base/Task.h"
#include "model/Track.h"

namespace halvenor {

/// Turns an audio file into a filled Track. A service: its work runs off the main thread; called
/// and awaited on the main thread. Reading never fails: what a file doesn't tell keeps the value
/// that stands in for it (the file's name as title, "Unknown Artist", duration 0, ...).
class TagService {
  public:
    /// Ends, and waits for what its workers do, as the application object ends.
    static TagService& shared();

    static const QSet<QByteArray>& supportedExtensions();
    /// Whether the lower-cased extension is one that the library lists.
    static bool isSupportedAudioFile(const FileUrl& url);
    /// Whether tags can be written into files of this extension.
    static bool supportsTagWriting(const FileUrl& url);

    /// The full record of one file. One read at a time, in order.
    Job<Track> readMetadata(const FileUrl& url, std::stop_token token = {});

    /// The full records of several files, in their order. Batches run side by side on the idle
    /// cores, so a caller that wants speed keeps a few of them going and awaits them in order.
    Job<QList<Track>> readMetadata(const QList<FileUrl>& urls, std::stop_token token = {});

    /// Writes what `track` says of itself into its file: see tagFieldsOf. One write at a time, in
    /// order. The file is replaced as a whole, by another one in its place, or not at all.
    /// @return the file, whose place is no longer held by the item that bookmarks know
    /// @throws ID3WriterError at the wait
    Job<FileUrl> writeMetadata(const Track& track, std::stop_token token = {});

    /// Makes the writes so far outlast a power cut, which could bring old files back, whole, until
    /// then: each costs a wait for the disk, so it is for the end of a save. Behind the writes.
    Job<std::monostate> flushWrites();

  private:
    friend TagService& applicationOwned<TagService>();
    TagService();

    /// Removes what a killed process left in the folder of `url`, once for each folder. On the
    /// thread of single_.
    void sweepFolderOf(const FileUrl& url);

    const int64_t startedAt_;        // seconds since 1970-01-01 UTC
    QSet<QByteArray> sweptFolders_;  // of the thread of single_
    QList<FileUrl> unflushedFiles_;  // of the thread of single_
    Service single_;
    Service batches_;
};

}  // namespace halvenor
