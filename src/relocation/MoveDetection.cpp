#include "relocation/MoveDetection.h"

#include <utility>

#include "relocation/RecordDate.h"

namespace halvenor {

namespace {

// A view of the record's bytes, which outlive the request. Counting references would mean to touch
// each of ten thousand bookmarks twice more.
BookmarkRequest requestOf(const RelocationRecord& record, const QSet<QByteArray>& mayGoAnywhere) {
    const bool isFree = !mayGoAnywhere.isEmpty() && mayGoAnywhere.contains(record.path);
    return {QByteArray::fromRawData(record.bookmark->constData(), record.bookmark->size()),
            isFree ? BookmarkScope::fileSystem : BookmarkScope::searchRoots};
}

void note(qsizetype place, const BookmarkResolution& resolution, ResolvedMoves& result) {
    const QByteArray& path = result.records.at(place).path;
    if (resolution.url.path() == path) {
        result.dates[static_cast<size_t>(place)] = recordDate(resolution.status.modified);
        if (resolution.isStale) {
            result.stale.insert(path);
        }
    } else if (const FileUrl url = resolution.url.standardized();
               url.path() != path && !isInTrash(url)) {
        result.moves.insert(path, url.path());
    }
}

}  // namespace

ResolvedMoves resolvedMoves(const RelocationRecords& records, const QSet<QByteArray>& mayGoAnywhere,
                            BookmarkResolver& resolver, std::stop_token token) {
    std::vector<BookmarkRequest> requests;
    std::vector<qsizetype> places;
    requests.reserve(static_cast<size_t>(records.size()));
    places.reserve(static_cast<size_t>(records.size()));
    for (qsizetype place = 0; place < records.size(); ++place) {
        if (records.at(place).bookmark) {
            requests.push_back(requestOf(records.at(place), mayGoAnywhere));
            places.push_back(place);
        }
    }
    const auto resolutions = resolver.resolve(requests, std::move(token));
    ResolvedMoves result;
    result.records = records;
    result.dates.resize(static_cast<size_t>(records.size()));
    for (size_t index = 0; index < places.size(); ++index) {
        if (resolutions[index]) {
            note(places[index], *resolutions[index], result);
        }
    }
    return result;
}

}  // namespace halvenor
