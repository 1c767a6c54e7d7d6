#pragma once

#include <QByteArray>
#include <QList>

#include <optional>
#include <utility>

#include "base/FileDescriptor.h"
#include "base/FileUrl.h"

namespace halvenor {

/// Files that lend the covers of what plays to other programs.
///
/// Several processes may share the folder. Each has a lock file there while it lives, and names
/// its covers after it; whatever belongs to no living process may be removed by any. Made when the
/// first cover is. Used by one thread at a time.
class CoverFiles {
  public:
    /// @param folder made when it is needed, with the folders above it
    explicit CoverFiles(FileUrl folder) : folder_(std::move(folder)) {}
    CoverFiles(const CoverFiles&) = delete;
    CoverFiles& operator=(const CoverFiles&) = delete;
    /// Removes this process's files.
    ~CoverFiles();

    /// Puts an image into a file of its own. The one before stays for those who are still reading
    /// it, the one before that goes. Absent when the bytes make no image of a kind that desktops
    /// show, or can't be written.
    std::optional<FileUrl> put(const QByteArray& image);
    /// Removes this process's covers.
    void clear();
    /// Removes what processes that did not end properly have left.
    void removeLeftovers() const;

  private:
    bool claimName();
    void removeAllBut(qsizetype kept);
    /// Whether no living process has this name; then its lock is removed.
    bool isDead(const QByteArray& owner) const;
    FileUrl lockOf(const QByteArray& owner) const;

    FileUrl folder_;
    QByteArray name_;
    FileDescriptor lock_;
    QList<FileUrl> covers_;
    int written_ = 0;
};

}  // namespace halvenor
