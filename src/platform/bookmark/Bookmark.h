#pragma once

#include <QByteArray>
#include <QList>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

#include "base/FileStatus.h"
#include "base/FileUrl.h"

namespace halvenor {

/// Remembers which item is at `url` now: opaque bytes, to be kept as long as one likes, from which
/// BookmarkResolver finds the item again after it was renamed or moved within its file system.
/// Links are followed. Absent when nothing is there. Any thread.
std::optional<QByteArray> makeBookmark(const FileUrl& url);
/// The same for many, in order. What lies in one folder, or in neighbouring ones, shares the looks
/// at the folders above: several times quicker than one by one.
std::vector<std::optional<QByteArray>> makeBookmarks(const QList<FileUrl>& urls);

/// Whether `url` lies in a trash: a component ".Trash", ".Trashes" or ".Trash-" and a number, or
/// the Trash folder of the user's data home. Reads no disk. Any thread.
bool isInTrash(const FileUrl& url);

/// How far a search for a lost item may go.
enum class BookmarkScope {
    searchRoots,  ///< below the resolver's search roots alone
    fileSystem,   ///< outward from the nearest folder that survives, to the top of its file system
};

struct BookmarkRequest {
    BookmarkRequest(QByteArray bytes, BookmarkScope searchScope)
        : bookmark(std::move(bytes)), scope(searchScope) {}

    QByteArray bookmark;
    BookmarkScope scope;
};

/// Where a bookmark's item is.
struct BookmarkResolution {
    FileUrl url;
    /// The bookmark should be made anew: the item is elsewhere than the bookmark says, or another
    /// item of its kind stands in its place (as after an atomic save).
    bool isStale = false;
    /// The item as it was seen at `url`.
    FileStatus status;
};

/// Finds the items of bookmarks. Nothing is shown, mounted or written, no file is read.
///
/// In this order: the stored place, if it holds the stored item; the descriptors held open on the
/// Locations, which follow a rename while the program runs; an ancestor that is found again, and
/// the rest of the path below it; one walk for all lost items of a call together; an item of the
/// same kind at the stored place, as stale. Otherwise the item is lost, which tells nothing about
/// its bookmark: its file system may be away.
///
/// What a walk has not found is not walked for again at once: the pause doubles from a minute to an
/// hour, unless another item is newly lost or there is a new Location. An object is used by one
/// thread at a time.
class BookmarkResolver {
  public:
    struct Options {
        /// The time by which walks pause.
        std::function<std::chrono::steady_clock::time_point()> now = std::chrono::steady_clock::now;
        /// After how many folder entries a walk is cut off.
        int64_t mostEntries = 5'000'000;
    };
    /// What the searches so far have cost.
    struct Statistics {
        int walks = 0;
        int64_t entries = 0;  ///< that were looked at in walks
    };

    BookmarkResolver();
    explicit BookmarkResolver(Options options);
    ~BookmarkResolver();
    BookmarkResolver(const BookmarkResolver&) = delete;
    BookmarkResolver& operator=(const BookmarkResolver&) = delete;

    /// Holds these folders open, and no others, so that they can be followed while the program
    /// runs; they are the search roots too. (Those on file systems that the user may want to
    /// unmount are not held, as that would keep them mounted; a walk follows them.) One that is not
    /// there now is held later, when this is called again. A folder that was renamed since it was
    /// held stays held under its old path until that path is no longer given.
    void setLocations(const QList<QByteArray>& paths);

    /// One answer for each request, in order; absent for a lost item. A stopped call answers at
    /// once, as if what it had not found yet were lost.
    std::vector<std::optional<BookmarkResolution>> resolve(
        const std::vector<BookmarkRequest>& requests, std::stop_token token = {});

    Statistics statistics() const;

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace halvenor
