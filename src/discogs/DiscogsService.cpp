#include "discogs/DiscogsService.h"

#include <cstdio>
#include <utility>

#include "base/ApplicationOwned.h"
#include "base/Error.h"
#include "discogs/CoverCandidates.h"
#include "discogs/CoverImage.h"

namespace halvenor {

namespace {

using QueryItems = QList<std::pair<const char*, QString>>;

// Everything that is not a letter, digit or one of "-._~" is encoded: servers read "+" as a blank.
std::optional<QUrl> withQuery(const QUrl& page, const QueryItems& items) {
    QByteArray query;
    for (const auto& [name, value] : items) {
        query +=
            (query.isEmpty() ? "" : "&") + QByteArray(name) + '=' + QUrl::toPercentEncoding(value);
    }
    QUrl url = page;
    url.setQuery(QString::fromLatin1(query));
    return url.isValid() ? std::optional(url) : std::nullopt;
}

std::optional<QUrl> sitePage(const QUrl& page, const QString& artist, const char* what,
                             const QString& title) {
    return withQuery(page, {{"type", QStringLiteral("all")}, {"artist", artist}, {what, title}});
}

void reportError(const std::exception& error) {
    std::printf("Discogs cover fetch error: %s\n", error.what());
    std::fflush(stdout);
}

}  // namespace

DiscogsConfiguration DiscogsConfiguration::fromEnvironment() {
    DiscogsConfiguration configuration;
    const QUrl search(qEnvironmentVariable("HALVENOR_DISCOGS_SEARCH"), QUrl::StrictMode);
    if (search.isValid() && !search.isRelative()) {
        configuration.baseUrl = search;
    }
    return configuration;
}

DiscogsService& DiscogsService::shared() {
    return applicationOwned<DiscogsService>();
}

DiscogsService::DiscogsService(DiscogsConfiguration configuration)
    : configuration_(std::move(configuration)) {}

std::optional<QUrl> DiscogsService::searchUrl(const QString& artist,
                                              const QString& trackTitle) const {
    return sitePage(configuration_.searchPage, artist, "track", trackTitle);
}

std::optional<QUrl> DiscogsService::albumSearchUrl(const QString& artist,
                                                   const QString& albumTitle) const {
    return sitePage(configuration_.searchPage, artist, "title", albumTitle);
}

Task<std::optional<QByteArray>> DiscogsService::searchCoverArt(QString artist, QString album,
                                                               std::stop_token token) {
    artist = artist.trimmed();
    album = album.trimmed();
    if (artist.isEmpty() || album.isEmpty()) {
        co_return std::nullopt;
    }
    const auto url =
        withQuery(configuration_.baseUrl, {{"q", artist + QLatin1Char(' ') + album},
                                           {"type", QStringLiteral("release")},
                                           {"per_page", QString::number(mostSearchResults)}});
    if (!url) {
        co_return std::nullopt;
    }
    Client client;
    QList<CoverCandidate> candidates;
    try {
        auto loading = worker_.run([](const std::stop_token&) { WebClient::preload(); }, token);
        co_await loading;
        client = std::make_shared<WebClient>();
        auto request = requestData(client, *url, configuration_.mostAnswerBytes, token);
        const QByteArray answer = co_await request;
        auto job = worker_.run(
            [answer, artist, album](const std::stop_token&) {
                return coverCandidates(parseSearchAnswer(answer), artist, album);
            },
            token);
        candidates = co_await job;
    } catch (const Error& error) {
        reportError(error);
        co_return std::nullopt;
    }
    for (const CoverCandidate& candidate : std::as_const(candidates)) {
        if (candidate.cover) {
            auto fetching = fetchImage(client, *candidate.cover, token);
            const std::optional<QByteArray> image = co_await fetching;
            if (image) {
                co_return std::optional<QByteArray>(image);
            }
        }
        if (!candidate.release) {
            continue;
        }
        auto looking = fetchImageUrls(client, *candidate.release, token);
        const QList<QUrl> urls = co_await looking;
        for (const QUrl& imageUrl : urls) {
            auto fetching = fetchImage(client, imageUrl, token);
            const std::optional<QByteArray> image = co_await fetching;
            if (image) {
                co_return std::optional<QByteArray>(image);
            }
        }
    }
    co_return std::nullopt;
}

// The body of a good answer; throws Error for any other, and Cancelled.
Task<QByteArray> DiscogsService::requestData(Client client, QUrl url, qsizetype mostBytes,
                                             std::stop_token token) {
    WebRequest request;
    request.url = url;
    request.headers = {{"User-Agent", configuration_.userAgent},
                       {"Accept", "application/vnd.discogs.v2.discogs+json"},
                       // Or the user's language would be told.
                       {"Accept-Language", "*"}};
    request.timeOut = configuration_.timeOut;
    request.longestTime = configuration_.longestRequest;
    request.mostBytes = mostBytes;
    auto job = client->get(request, token);
    const WebAnswer answer = co_await job;
    if (!answer.isSuccess()) {
        throw Error(ErrorKind::unavailable, QStringLiteral("invalidResponse"));
    }
    co_return QByteArray(answer.body);
}

// The image's bytes, or nothing where something else or nothing is there.
Task<std::optional<QByteArray>> DiscogsService::fetchImage(Client client, QUrl url,
                                                           std::stop_token token) {
    try {
        auto request = requestData(client, url, configuration_.mostImageBytes, token);
        const QByteArray body = co_await request;
        auto job =
            worker_.run([body](const std::stop_token&) { return isCoverImage(body); }, token);
        const bool isImage = co_await job;
        co_return isImage ? std::optional<QByteArray>(body) : std::nullopt;
    } catch (const Error&) {
        co_return std::nullopt;  // The next place may have one.
    }
}

// Where a release's images are; none where it can't be had.
Task<QList<QUrl>> DiscogsService::fetchImageUrls(Client client, QUrl release,
                                                 std::stop_token token) {
    try {
        auto request = requestData(client, release, configuration_.mostAnswerBytes, token);
        const QByteArray answer = co_await request;
        auto job = worker_.run(
            [answer](const std::stop_token&) { return imageUrls(parseReleaseAnswer(answer)); },
            token);
        QList<QUrl> urls = co_await job;
        co_return QList<QUrl>(urls);
    } catch (const Error&) {
        co_return QList<QUrl>();
    }
}

}  // namespace halvenor
