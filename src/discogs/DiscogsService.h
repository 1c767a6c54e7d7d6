#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <chrono>
#include <memory>
#include <optional>
#include <stop_token>

#include "base/Task.h"
#include "platform/web/WebClient.h"

namespace halvenor {

/// Where Discogs is, and what it may take of time and memory.
struct DiscogsConfiguration {
    DiscogsConfiguration() = default;
    /// The defaults, but for the search of the database, which HALVENOR_DISCOGS_SEARCH in the
    /// environment moves elsewhere: to a cache, a proxy or a test.
    static DiscogsConfiguration fromEnvironment();

    /// The search of the database, for programs.
    QUrl baseUrl{QStringLiteral("https://api.discogs.com/database/search")};
    /// The search page of the site, for people.
    QUrl searchPage{QStringLiteral("https://www.discogs.com/search/")};
    QByteArray userAgent{"HalvenorAudioPlayer/1.0"};
    /// How long a server may be silent.
    std::chrono::milliseconds timeOut{std::chrono::seconds(60)};
    /// How long one request may take altogether.
    std::chrono::milliseconds longestRequest{std::chrono::minutes(5)};
    qsizetype mostAnswerBytes = 8 << 20;
    qsizetype mostImageBytes = 32 << 20;
};

/// Finds album covers on the Discogs web service, anonymously, and makes the links that open a
/// search on its site. A service without a memory: every search asks anew. Requests go out one
/// after another; answers and images are looked at on a worker. Main thread.
class DiscogsService {
  public:
    static DiscogsService& shared();

    /// Outlives its searches.
    explicit DiscogsService(
        DiscogsConfiguration configuration = DiscogsConfiguration::fromEnvironment());

    /// The bytes of the first image that Discogs has for an album of this artist: of the results in
    /// the service's order that name both, the cover, or else the release's images. Nothing when
    /// there is none, or either name is empty, or nothing could be reached; why the search itself
    /// failed is said on the standard output.
    /// @param token a stop aborts the request that is under way; the wait then throws Cancelled
    Task<std::optional<QByteArray>> searchCoverArt(QString artist, QString album,
                                                   std::stop_token token = {});

    /// The page that shows what Discogs has of this artist and track.
    std::optional<QUrl> searchUrl(const QString& artist, const QString& trackTitle) const;
    /// The page that shows what Discogs has of this artist and album.
    std::optional<QUrl> albumSearchUrl(const QString& artist, const QString& albumTitle) const;

  private:
    using Client = std::shared_ptr<WebClient>;

    Task<QByteArray> requestData(Client client, QUrl url, qsizetype mostBytes,
                                 std::stop_token token);
    Task<std::optional<QByteArray>> fetchImage(Client client, QUrl url, std::stop_token token);
    Task<QList<QUrl>> fetchImageUrls(Client client, QUrl release, std::stop_token token);

    const DiscogsConfiguration configuration_;
    Service worker_;
};

}  // namespace halvenor
