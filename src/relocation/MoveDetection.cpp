#include "relocation/MoveDetection.h"

#include <utility>
#include <vector>

namespace halvenor {

namespace {

void note(const RelocationRecord& record, const BookmarkResolution& resolution,
          ResolvedMoves& result) {
    const FileUrl url = resolution.url.standardized();
    if (url.path() == record.path) {
        result.seen.insert(record.path, resolution.status);
        if (resolution.isStale) {
            result.stale.insert(record.path);
        }
    } else if (!isInTrash(url)) {
        result.moves.insert(record.path, url.path());
    }
}

}  // namespace

ResolvedMoves resolvedMoves(const RelocationRecords& records, const QSet<QByteArray>& mayGoAnywhere,
                            BookmarkResolver& resolver, std::stop_token token) {
    std::vector<BookmarkRequest> requests;
    std::vector<const RelocationRecord*> asked;
    requests.reserve(static_cast<size_t>(records.size()));
    asked.reserve(static_cast<size_t>(records.size()));
    for (const RelocationRecord& record : records) {
        if (record.bookmark) {
            const auto scope = mayGoAnywhere.contains(record.path) ? BookmarkScope::fileSystem
                                                                   : BookmarkScope::searchRoots;
            requests.emplace_back(*record.bookmark, scope);
            asked.push_back(&record);
        }
    }
    const auto resolutions = resolver.resolve(requests, std::move(token));
    ResolvedMoves result;
    result.seen.reserve(records.size());
    for (size_t index = 0; index < asked.size(); ++index) {
        if (resolutions[index]) {
            note(*asked[index], *resolutions[index], result);
        }
    }
    return result;
}

}  // namespace halvenor
