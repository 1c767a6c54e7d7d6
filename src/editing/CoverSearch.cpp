#include "editing/CoverSearch.h"

namespace halvenor {

void CoverSearch::start(const QString& artist, const QString& album, OnEnd onEnd) {
    isSearching = true;
    task_.start([&](std::stop_token token) {
        return searchTask(artist, album, std::move(onEnd), std::move(token));
    });
}

Task<> CoverSearch::searchTask(QString artist, QString album, OnEnd onEnd, std::stop_token token) {
    auto searching = service_.searchCoverArt(artist, album, token);
    const std::optional<QByteArray> cover = co_await searching;
    if (token.stop_requested()) {
        co_return;
    }
    isSearching = false;
    onEnd(cover);
}

QString noCoverFound() {
    return QStringLiteral("No cover was found on Discogs.");
}

}  // namespace halvenor
