#pragma once

#include <QByteArray>
#include <QList>
#include <QSet>
#include <QTemporaryDir>

#include "base/FileUrl.h"

namespace halvenor::bench {

/// One folder of `count` tracks that have tags, made in no time: hard links of twenty files.
class GrownTrackFolder {
  public:
    /// @throws std::runtime_error
    explicit GrownTrackFolder(int count);

    FileUrl url() const { return FileUrl(folder_.path().toUtf8()); }
    const QList<FileUrl>& files() const { return files_; }

  private:
    QTemporaryDir folder_;
    QList<FileUrl> files_;
};

/// A tree of folders, none of which holds anything else: as many as `count`, but for those between,
/// a hundred in each.
class GrownTree {
  public:
    /// @throws std::runtime_error
    explicit GrownTree(int count);

    FileUrl url() const { return FileUrl(folder_.path().toUtf8()); }
    const QSet<QByteArray>& folders() const { return folders_; }
    /// An empty file in every tenth folder, ten times over. @return their paths
    QSet<QByteArray> fill() const;

  private:
    QTemporaryDir folder_;
    QSet<QByteArray> folders_;
};

}  // namespace halvenor::bench
