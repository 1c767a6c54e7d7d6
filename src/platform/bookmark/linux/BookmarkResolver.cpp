#include <fcntl.h>
#include <utility>

#include "platform/bookmark/Bookmark.h"
#include "platform/bookmark/BookmarkData.h"
#include "platform/bookmark/linux/Finder.h"
#include "platform/bookmark/linux/HeldLocations.h"
#include "platform/bookmark/linux/KnownFolders.h"
#include "platform/bookmark/linux/LostSearch.h"
#include "platform/bookmark/linux/MountTable.h"
#include "platform/bookmark/linux/SeenItem.h"
#include "platform/bookmark/linux/Surroundings.h"
#include "platform/bookmark/linux/WalkPause.h"

namespace halvenor {

namespace {

using Resolutions = std::vector<std::optional<BookmarkResolution>>;

// Something that WalkPause knows an item by.
uint64_t keyOf(const BookmarkFront& front, BookmarkScope scope) {
    return qHashMulti(size_t{0}, front.item.inode, front.item.born.value_or(0),
                      static_cast<int>(scope));
}

}  // namespace

class BookmarkResolver::Impl {
  public:
    explicit Impl(Options options) : options_(std::move(options)) {}

    void setLocations(const QList<QByteArray>& paths) {
        if (locations_.set(paths)) {
            pause_.forget();
        }
    }

    Resolutions resolve(const std::vector<BookmarkRequest>& requests,
                        const std::stop_token& token) {
        const MountTable mounts = MountTable::current();
        Resolutions results(requests.size());
        std::vector<LostItem> lost;
        for (size_t i = 0; i < requests.size() && !token.stop_requested(); ++i) {
            if (auto item = resolveInPlace(requests[i], mounts, results[i])) {
                item->request = i;
                lost.push_back(std::move(*item));
            }
        }
        if (!lost.empty()) {
            resolveLost(lost, mounts, results, token);
        }
        return results;
    }

    Statistics statistics() const { return statistics_; }

  private:
    std::optional<LostItem> resolveInPlace(const BookmarkRequest& request, const MountTable& mounts,
                                           std::optional<BookmarkResolution>& result);
    void resolveLost(std::vector<LostItem>& lost, const MountTable& mounts, Resolutions& results,
                     const std::stop_token& token);
    void walkFor(std::vector<LostItem>& lost, Finder& finder, const std::stop_token& token);

    Options options_;
    HeldLocations locations_;
    WalkPause pause_;
    Statistics statistics_;
};

// The ordinary case, ten thousand times in a row: one look at the disk, one path made.
// @return the item, if it is not there and may be elsewhere
std::optional<LostItem> BookmarkResolver::Impl::resolveInPlace(
    const BookmarkRequest& request, const MountTable& mounts,
    std::optional<BookmarkResolution>& result) {
    auto front = decodedFront(request.bookmark);
    if (!front) {
        return std::nullopt;
    }
    front->path = QByteArray(front->path.constData(), front->path.size());  // no view any more
    if (mounts.isWaitingForMount(front->path)) {
        return std::nullopt;
    }
    SeenItem seen(AT_FDCWD, front->path);
    if (seen.isStill(front->kind, front->item)) {
        if (pause_.knowsLost()) {
            pause_.isThere(keyOf(*front, request.scope));
        }
        result.emplace(BookmarkResolution{FileUrl(std::move(front->path)), false, seen.status()});
        return std::nullopt;
    }
    auto back = decodedBack(request.bookmark);
    if (!back) {
        return std::nullopt;
    }
    LostItem item;
    item.scope = request.scope;
    item.front = std::move(*front);
    item.back = std::move(*back);
    return item;
}

void BookmarkResolver::Impl::resolveLost(std::vector<LostItem>& lost, const MountTable& mounts,
                                         Resolutions& results, const std::stop_token& token) {
    const auto places = locations_.places();
    Finder finder(mounts, places);
    const KnownFolders known(places, results, mounts);
    Surroundings surroundings(finder);
    for (LostItem& item : lost) {
        if (token.stop_requested()) {
            break;
        }
        known.follow(item, finder);
        if (!item.found) {
            surroundings.explore(item);
        }
    }
    if (!token.stop_requested()) {
        walkFor(lost, finder, token);
    }
    for (LostItem& item : lost) {
        finder.settle(item);
        if (item.found) {
            pause_.isThere(keyOf(item.front, item.scope));
        } else if (const SeenItem seen(AT_FDCWD, item.front.path);
                   seen.exists() && seen.status().kind == item.front.kind &&
                   !isBareMountPoint(item, seen.status()) && !token.stop_requested()) {
            item.found = BookmarkResolution{FileUrl(item.front.path), true, seen.status()};
        }
        results[item.request] = std::move(item.found);
    }
}

void BookmarkResolver::Impl::walkFor(std::vector<LostItem>& lost, Finder& finder,
                                     const std::stop_token& token) {
    LostSearch search(lost, finder);
    std::vector<uint64_t> keys;
    for (const LostItem* const item : search.searchable()) {
        keys.push_back(keyOf(item->front, item->scope));
    }
    if (keys.empty() || !pause_.isOver(keys, options_.now())) {
        return;
    }
    TreeWalk::Budget budget{options_.mostEntries, false};
    search.walk(budget, token);
    statistics_.walks += 1;
    statistics_.entries += options_.mostEntries - budget.entries;
    if (!token.stop_requested()) {
        pause_.hasWalked(keys, options_.now());
    }
}

BookmarkResolver::BookmarkResolver() : BookmarkResolver(Options()) {}
BookmarkResolver::BookmarkResolver(Options options)
    : impl_(std::make_unique<Impl>(std::move(options))) {}
BookmarkResolver::~BookmarkResolver() = default;

void BookmarkResolver::setLocations(const QList<QByteArray>& paths) {
    impl_->setLocations(paths);
}

std::vector<std::optional<BookmarkResolution>> BookmarkResolver::resolve(
    const std::vector<BookmarkRequest>& requests, std::stop_token token) {
    return impl_->resolve(requests, token);
}

BookmarkResolver::Statistics BookmarkResolver::statistics() const {
    return impl_->statistics();
}

}  // namespace halvenor
