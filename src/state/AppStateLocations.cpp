// The Locations between runs: which folders they are, kept as bookmarks beside their paths, so that
// one that was renamed or moved while the program was not running comes back where it is now.
#include <QPointer>

#include <algorithm>
#include <chrono>
#include <future>
#include <utility>

#include "base/MoveTable.h"
#include "state/AppState.h"
#include "state/SettingsKeys.h"

namespace halvenor {

using namespace std::chrono_literals;

namespace {

// A disk that does not answer must not keep the window from showing. What is not found by then
// shows as unavailable, and the check that follows the start finds it.
constexpr std::chrono::milliseconds longestRestore = 300ms;

// One Location as the settings have it.
struct StoredLocation {
    QByteArray path;      // empty where only its bookmark was kept
    QByteArray bookmark;  // empty where none could be made
};

struct FoundLocation {
    /// Where its bookmark leads, unless that is nowhere or a trash.
    std::optional<FileUrl> url;
    bool isAtStoredPath = false;
};

std::vector<StoredLocation> storedLocations(const Settings& settings,
                                            const QHash<QByteArray, QByteArray>& bookmarks) {
    std::vector<StoredLocation> locations;
    const auto paths = settings.paths(settingsKeys::libraryFolderPaths);
    bool hasBookmark = false;
    for (const QByteArray& path : paths.value_or(QList<QByteArray>())) {
        locations.push_back({path, bookmarks.value(path)});
        hasBookmark = hasBookmark || bookmarks.contains(path);
    }
    if (!paths) {
        for (const QByteArray& bookmark :
             settings.dataList(settingsKeys::libraryBookmarks).value_or(QList<QByteArray>())) {
            locations.push_back({QByteArray(), bookmark});
            hasBookmark = true;
        }
    }
    const auto last = settings.data(settingsKeys::lastOpenedFolderBookmark);
    if (!hasBookmark && last) {
        locations.insert(locations.begin(), {QByteArray(), *last});
    }
    return locations;
}

std::vector<FoundLocation> findLocations(BookmarkResolver& resolver,
                                         const std::vector<StoredLocation>& stored,
                                         std::stop_token token) {
    QList<QByteArray> paths;
    std::vector<BookmarkRequest> requests;
    for (const StoredLocation& location : stored) {
        paths.append(location.path);
        requests.emplace_back(location.bookmark, BookmarkScope::fileSystem);
    }
    paths.removeAll(QByteArray());
    resolver.setLocations(paths);
    const auto resolutions = resolver.resolve(requests, token);
    std::vector<FoundLocation> found(stored.size());
    for (size_t i = 0; i < stored.size(); ++i) {
        if (resolutions[i] && !isInTrash(resolutions[i]->url)) {
            found[i].url = resolutions[i]->url.standardized();
        }
        found[i].isAtStoredPath = !stored[i].path.isEmpty() && itemExists(FileUrl(stored[i].path));
    }
    return found;
}

MoveTable movesOf(const std::vector<StoredLocation>& stored,
                  const std::vector<FoundLocation>& found) {
    MoveTable moves;
    for (size_t i = 0; i < stored.size(); ++i) {
        const bool hasMoved = found[i].url && found[i].url->path() != stored[i].path;
        if (hasMoved && !stored[i].path.isEmpty()) {
            moves.insert(stored[i].path, found[i].url->path());
        }
    }
    return moves;
}

// Runs `work(token)` among the service's other jobs and waits for it, but not for long: then it is
// asked to stop, and the result is an empty one.
template <class Work>
auto resultInTime(Service& service, Work work) {
    using Result = std::invoke_result_t<Work&, std::stop_token>;
    const auto promise = std::make_shared<std::promise<Result>>();
    std::future<Result> result = promise->get_future();
    std::stop_source source;
    const auto job =
        service.run([work, promise](std::stop_token token) { promise->set_value(work(token)); },
                    source.get_token());
    if (result.wait_for(longestRestore) != std::future_status::ready) {
        source.request_stop();
        return Result();
    }
    return result.get();
}

QHash<QByteArray, QByteArray> madeBookmarks(const QList<QByteArray>& paths) {
    QHash<QByteArray, QByteArray> bookmarks;
    for (const QByteArray& path : paths) {
        if (const auto bookmark = makeBookmark(FileUrl(path))) {
            bookmarks.insert(path, *bookmark);
        }
    }
    return bookmarks;
}

}  // namespace

void AppState::loadLibraryBookmarks() {
    const auto paths =
        settings_.paths(settingsKeys::libraryFolderPaths).value_or(QList<QByteArray>());
    originalLocationPaths_ = QSet<QByteArray>(paths.begin(), paths.end());
    if (const auto map = settings_.dataByPath(settingsKeys::libraryBookmarkMap)) {
        libraryBookmarkData_ = *map;
        return;
    }
    const auto bookmarks =
        settings_.dataList(settingsKeys::libraryBookmarks).value_or(QList<QByteArray>());
    for (qsizetype i = 0; i < std::min(paths.size(), bookmarks.size()); ++i) {
        if (!libraryBookmarkData_.contains(paths[i])) {
            libraryBookmarkData_.insert(paths[i], bookmarks[i]);
        }
    }
}

// A stored path stays a Location even if nothing exists there now: its disk may be away. The one
// case in which it does not is that its folder was found elsewhere.
void AppState::restoreLibraryFolders() {
    const std::vector<StoredLocation> stored = storedLocations(settings_, libraryBookmarkData_);
    if (stored.empty()) {
        return;
    }
    std::vector<FoundLocation> found = resultInTime(
        relocationService_, [resolver = bookmarkResolver_, stored](std::stop_token token) {
            return findLocations(*resolver, stored, token);
        });
    found.resize(stored.size());
    const MoveTable moves = movesOfLostLocations(movesOf(stored, found));

    QSet<QByteArray> available;
    bool hasRestored = false;
    for (size_t i = 0; i < stored.size(); ++i) {
        if (!found[i].url && stored[i].path.isEmpty()) {
            continue;
        }
        const FileUrl url = found[i].url.value_or(FileUrl(remapped(stored[i].path, moves)));
        registerLibraryFolder(url, Persist::no, Select::no);
        hasRestored = hasRestored || found[i].url;
        if (found[i].url || found[i].isAtStoredPath) {
            available.insert(url.standardized().path());
        }
    }
    availableLocationPaths = available;
    if (const auto first = rootFolder()) {
        openFolder(*first);
    }
    if (hasRestored) {
        persistLibraryBookmarks();
    }
}

// A Location that has no bookmark of its own may be remembered among the records.
MoveTable AppState::movesOfLostLocations(MoveTable moves) {
    RelocationRecords records;
    for (const QByteArray& path : originalLocationPaths_) {
        if (libraryBookmarkData_.contains(path)) {
            continue;
        }
        for (const RelocationRecord& record : relocationStore_.records()) {
            if (record.path == path) {
                records.append(record);
                break;
            }
        }
    }
    if (!records.isEmpty()) {
        moves.insert(resultInTime(
            relocationService_, [resolver = bookmarkResolver_, records,
                                 anywhere = originalLocationPaths_](std::stop_token token) {
                return resolvedMoves(records, anywhere, *resolver, token).moves;
            }));
    }
    return moves;
}

void AppState::persistLibraryBookmarks() {
    writeLibraryBookmarks();
    libraryBookmarkTask_.start([this](std::stop_token token) { return renewedBookmarks(token); });
}

// The folders are looked at off the main thread. Where one can't be, its old bookmark stays.
Task<> AppState::renewedBookmarks(std::stop_token token) {
    const QPointer<AppState> self(this);
    const QList<QByteArray> paths = libraryPaths();
    auto job = relocationService_.run([paths](std::stop_token) { return madeBookmarks(paths); });
    const QHash<QByteArray, QByteArray> bookmarks = co_await job;
    if (token.stop_requested() || !self) {
        co_return;
    }
    libraryBookmarkData_.insert(bookmarks);
    writeLibraryBookmarks();
}

void AppState::writeLibraryBookmarks() {
    const QList<QByteArray> paths = libraryPaths();
    QHash<QByteArray, QByteArray> byPath;
    QList<QByteArray> inOrder;
    for (const QByteArray& path : paths) {
        const auto bookmark = libraryBookmarkData_.constFind(path);
        if (bookmark != libraryBookmarkData_.constEnd()) {
            byPath.insert(path, *bookmark);
            inOrder.append(*bookmark);
        }
    }
    libraryBookmarkData_ = byPath;
    settings_.setPaths(settingsKeys::libraryFolderPaths, paths);
    settings_.setDataByPath(settingsKeys::libraryBookmarkMap, byPath);
    settings_.setDataList(settingsKeys::libraryBookmarks, inOrder);
    if (inOrder.isEmpty()) {
        settings_.remove(settingsKeys::lastOpenedFolderBookmark);
    } else {
        settings_.setData(settingsKeys::lastOpenedFolderBookmark, inOrder.last());
    }
}

}  // namespace halvenor
