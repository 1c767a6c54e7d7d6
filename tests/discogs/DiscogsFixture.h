#pragma once

#include <gmock/gmock.h>

#include "discogs/DiscogsService.h"
#include "discogs/Pictures.h"
#include "support/EventLoop.h"
#include "support/HttpServer.h"

namespace halvenor::test {

/// The service, and a server on loopback that stands for Discogs and for where its images are.
class DiscogsFixture : public testing::Test {
  protected:
    /// Limits small enough to be met.
    static constexpr std::chrono::milliseconds timeOut{1000};
    static constexpr std::chrono::milliseconds longestRequest{2500};

    DiscogsConfiguration configuration() const {
        DiscogsConfiguration made;
        made.baseUrl = server_.url("/database/search");
        made.timeOut = timeOut;
        made.longestRequest = longestRequest;
        made.mostAnswerBytes = 100000;
        made.mostImageBytes = 200000;
        return made;
    }

    /// One search's result that passes for searchCover(), as JSON. Absent addresses are left out.
    static QByteArray result(const QByteArray& cover, const QByteArray& release = {}) {
        return "{\"title\": \"Ada - First\"" +
               (cover.isEmpty() ? "" : ", \"cover_image\": \"" + cover + '"') +
               (release.isEmpty() ? "" : ", \"resource_url\": \"" + release + '"') + "}";
    }
    void answerSearch(const QList<QByteArray>& results) {
        server_.answer("/database/search",
                       HttpAnswer::ok("{\"results\": [" + results.join(',') + "]}"));
    }

    std::optional<QByteArray> searchCover(const char* artist = "Ada", const char* album = "First") {
        testing::internal::CaptureStdout();
        auto found = runToCompletion(
            service_.searchCoverArt(QString::fromUtf8(artist), QString::fromUtf8(album)));
        printed_ = testing::internal::GetCapturedStdout();
        return found;
    }

    /// The paths asked for, in order, joined by blanks, the search's left out.
    QByteArray asked() const {
        QList<QByteArray> paths = server_.targets();
        paths.removeIf([](const QByteArray& path) { return path.startsWith("/database"); });
        return paths.join(' ');
    }

    HttpServer server_;
    DiscogsService service_{configuration()};
    std::string printed_;  ///< by the last search, on the standard output
};

}  // namespace halvenor::test
