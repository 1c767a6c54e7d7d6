#pragma once

#include <QByteArray>
#include <QList>
#include <QTemporaryDir>

#include "base/FileUrl.h"

namespace halvenor::bench {

/// A folder of music to measure with: half MP3, half FLAC, with every tag that the library reads
/// and a cover in each, twenty tracks to an album. Every file has bytes of its own on the disk.
/// Gone at its end.
class MusicFolder {
  public:
    static constexpr int tracksPerAlbum = 20;

    /// @param tracks     how many files
    /// @param coverBytes size of each cover; the tracks of an album have equal ones
    /// @param audioBytes what follows the tags in each file, to a frame
    /// @throws std::runtime_error when the disk is full
    explicit MusicFolder(int tracks, int coverBytes = 100'000, int audioBytes = 40'000);

    FileUrl url() const { return FileUrl(folder_.path().toUtf8()); }
    /// In the order of their names.
    const QList<FileUrl>& files() const { return files_; }

  private:
    QTemporaryDir folder_;
    QList<FileUrl> files_;
};

/// What the process holds in memory right now, in bytes.
int64_t residentBytes();

}  // namespace halvenor::bench
