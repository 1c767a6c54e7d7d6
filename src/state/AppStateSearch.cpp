#include <QPointer>

#include <chrono>

#include "model/scanner/FolderScanner.h"
#include "state/AppState.h"

namespace halvenor {

using namespace std::chrono_literals;

// Old results disappear at once, so that nothing stale stands while the user types.
void AppState::scheduleFolderSearch() {
    folderSearchTask_.cancel();
    const QString query = searchQuery->trimmed();
    folderSearchResults = FolderList();
    isFolderSearchInProgress = !query.isEmpty();
    if (query.isEmpty()) {
        return;
    }
    folderSearchTask_.start([&](std::stop_token token) { return searchTask(query, token); });
}

Task<> AppState::searchTask(QString query, std::stop_token token) {
    const QPointer<AppState> self(this);
    const std::vector<FileUrl> roots = *libraryFolders;
    co_await sleepFor(250ms);
    if (token.stop_requested() || !self) {
        co_return;
    }
    auto job = FolderScanner::shared().searchFolders(roots, query, token);
    const FolderList results = co_await job;
    if (token.stop_requested() || !self || searchQuery->trimmed() != query) {
        co_return;
    }
    folderSearchResults = results;
    isFolderSearchInProgress = false;
}

}  // namespace halvenor
