// A search for a cover as the server sees it: what is asked, in which order, and what is taken.
#include <QUrlQuery>

#include "discogs/DiscogsFixture.h"

namespace halvenor::test {
namespace {

using testing::ElementsAre;
using testing::Optional;

TEST_F(DiscogsFixture, asksAnonymouslyAndTheSameWayForEverything) {
    answerSearch({result(server_.address("/cover.jpg"), server_.address("/releases/1"))});
    server_.answer("/cover.jpg", HttpAnswer::redirect(server_.address("/moved.jpg"), 301));
    server_.answer("/moved.jpg", HttpAnswer::status(404, "Set-Cookie: id=7; Path=/\r\n", "gone"));
    server_.answer("/releases/1",
                   HttpAnswer::ok("{\"images\": [{\"type\": \"primary\", \"uri\": \"" +
                                  server_.address("/1.png") + "\"}]}"));
    server_.answer("/1.png", HttpAnswer::ok(picture("png"), "image/png"));
    EXPECT_THAT(searchCover("\n Ada \t", " First\r\n"), Optional(picture("png")));

    EXPECT_THAT(server_.targets(),
                ElementsAre("/database/search?q=Ada%20First&type=release&per_page=25", "/cover.jpg",
                            "/moved.jpg", "/releases/1", "/1.png"));
    for (const HttpRequest& request : server_.requests()) {
        EXPECT_EQ(request.headerNames().join(' '),
                  "Host User-Agent Accept Accept-Language Connection Accept-Encoding")
            << request.target.toStdString();
        EXPECT_THAT(request.values("User-Agent"), ElementsAre("HalvenorAudioPlayer/1.0"));
        EXPECT_THAT(request.values("Accept"),
                    ElementsAre("application/vnd.discogs.v2.discogs+json"));
        EXPECT_THAT(request.values("Accept-Language"), ElementsAre("*"));
    }
    EXPECT_EQ(printed_, "");
}

TEST_F(DiscogsFixture, namesReachTheServerAsTheyAre) {
    answerSearch({});
    const std::pair<const char*, const char*> names[] = {
        {"Simon & Garfunkel", "+ = ?#/%41;"},
        {"Sjöberg", "( )"},
        {"q=x&type=master", "\"\\'<>[]{}|^`@:,$*~"},
        {"안녕 \U0001F3B5", "a  b\nc"},
    };
    for (const auto& [artist, album] : names) {
        EXPECT_FALSE(searchCover(artist, album));
        const QByteArray target = server_.targets().last();
        QByteArray encoded = target.mid(target.indexOf("?q=") + 3);
        ASSERT_TRUE(encoded.endsWith("&type=release&per_page=25")) << encoded.toStdString();
        encoded.chop(25);
        EXPECT_FALSE(encoded.contains('+') || encoded.contains('&')) << encoded.toStdString();
        EXPECT_EQ(QByteArray::fromPercentEncoding(encoded), QByteArray(artist) + ' ' + album);
    }
    EXPECT_EQ(server_.requests().size(), 4) << "no second search of another kind";
}

TEST_F(DiscogsFixture, withoutANameNothingIsAsked) {
    for (const auto& [artist, album] : {std::pair("", "First"), {"Ada", ""}, {" \n", "\t"}}) {
        EXPECT_FALSE(searchCover(artist, album));
    }
    EXPECT_TRUE(server_.requests().isEmpty());
    EXPECT_EQ(printed_, "");
}

TEST_F(DiscogsFixture, takesTheFirstCoverInTheServersOrderOfATitleThatFits) {
    const QByteArray cover = picture("jpeg", 2);
    answerSearch({R"({"title": "Adam - First", "cover_image": ")" + server_.address("/no") + "\"}",
                  result({}, {}), result("ftp://127.0.0.1/a.jpg", "data:text/plain,a"),
                  result(server_.address("/broken.jpg")), result(server_.address("/2.jpg")),
                  result(server_.address("/3.jpg"))});
    server_.answer("/broken.jpg", HttpAnswer::ok("<html>Sorry</html>", "image/jpeg"));
    server_.answer("/2.jpg", HttpAnswer::ok(cover, "text/html"));
    server_.answer("/3.jpg", HttpAnswer::ok(picture("jpeg", 3), "image/jpeg"));
    EXPECT_THAT(searchCover(), Optional(cover));
    EXPECT_EQ(asked(), "/broken.jpg /2.jpg");
}

TEST_F(DiscogsFixture, looksThroughAReleaseWhereTheCoverIsOfNoUse) {
    const auto image = [&](const char* type, const QByteArray& path) {
        return QByteArray("{\"type\": \"") + type + "\", \"uri\": \"" +
               (path.isEmpty() ? "" : server_.address(path)) + "\", \"uri150\": \"" +
               server_.address("/150") + "\"}";
    };
    answerSearch({result(server_.address("/html"), server_.address("/releases/1")),
                  result("ftp://127.0.0.1/a.jpg", server_.address("/releases/2")),
                  result({}, server_.address("/releases/3")),
                  result({}, server_.address("/releases/4"))});
    server_.answer("/html", HttpAnswer::ok("<html></html>", "text/html"));
    server_.answer("/releases/1", HttpAnswer::status(500));
    server_.answer("/releases/2", HttpAnswer::ok("{\"images\": [{\"uri\": \"no type\"}]}"));
    server_.answer(
        "/releases/3",
        HttpAnswer::ok("{\"images\": [" + image("secondary", "/s") + ',' + image("primary", {}) +
                       ',' + image("primary", "/p1") + ',' + image("primary", "/p2") + "]}"));
    server_.answer("/p1", HttpAnswer::status(429));
    server_.answer("/p2", HttpAnswer::ok(picture("png").left(50), "image/png"));
    server_.answer("/s", HttpAnswer::ok(gifPicture(), "image/gif"));
    EXPECT_THAT(searchCover(), Optional(gifPicture()));
    EXPECT_EQ(asked(), "/html /releases/1 /releases/2 /releases/3 /p1 /p2 /s");
    EXPECT_EQ(printed_, "") << "only the search itself says why it failed";
}

TEST_F(DiscogsFixture, saysWhyTheSearchItselfFailed) {
    const QByteArray good = "{\"results\": []}";
    const std::pair<HttpAnswer, const char*> cases[] = {
        {HttpAnswer::status(429, "Retry-After: 60\r\n"), "invalidResponse"},
        {HttpAnswer::status(199 + 104, {}, good), "invalidResponse"},
        {HttpAnswer::status(404, {}, good), "invalidResponse"},
        {HttpAnswer::status(500, {}, good), "invalidResponse"},
        {HttpAnswer::ok("<html>Sorry</html>"), "Another value or sign than should be here"},
        {HttpAnswer::ok("{}"), "An answer without results"},
        {HttpAnswer::truncated(good, 500), "onnection closed"},
        {HttpAnswer::silence(), "The request timed out."},
    };
    for (const auto& [answer, why] : cases) {
        server_.answer("/database/search", answer);
        EXPECT_FALSE(searchCover()) << why;
        EXPECT_THAT(printed_, testing::StartsWith("Discogs cover fetch error: "));
        EXPECT_THAT(printed_, testing::HasSubstr(why));
        EXPECT_EQ(std::count(printed_.begin(), printed_.end(), '\n'), 1) << printed_;
    }
    EXPECT_EQ(asked(), "") << "nothing is asked again or elsewhere";
    server_.answer("/database/search", HttpAnswer::status(206, {}, good));
    EXPECT_FALSE(searchCover());
    EXPECT_EQ(printed_, "") << "any 2xx is an answer";
}

TEST_F(DiscogsFixture, requestsOfOneSearchGoOneByOneAndTwoSearchesSideBySide) {
    answerSearch({result(server_.address("/slow.jpg")), result(server_.address("/next.jpg"))});
    server_.answer("/slow.jpg", HttpAnswer::silence());
    server_.answer("/next.jpg", HttpAnswer::ok(picture("jpeg"), "image/jpeg"));
    std::optional<std::optional<QByteArray>> first;
    std::optional<std::optional<QByteArray>> second;
    const auto search = [](DiscogsService& service, auto* found) -> Task<> {
        auto searching = service.searchCoverArt(QStringLiteral("Ada"), QStringLiteral("First"), {});
        found->emplace(co_await searching);
    };
    spawn(search(service_, &first));
    spawn(search(service_, &second));
    ASSERT_TRUE(spinUntil([&] { return asked() == "/slow.jpg /slow.jpg"; }));
    spinFor(timeOut / 3);
    EXPECT_EQ(asked(), "/slow.jpg /slow.jpg");
    ASSERT_TRUE(spinUntil([&] { return first && second; }));
    EXPECT_THAT(*first, Optional(picture("jpeg")));
    EXPECT_THAT(*second, Optional(picture("jpeg")));
}

TEST(DiscogsLinks, openASearchOnTheSite) {
    const DiscogsService service;
    const auto link = [](const std::optional<QUrl>& url) { return url.value().toEncoded(); };
    EXPECT_EQ(link(service.searchUrl(QStringLiteral("Simon & Garfunkel"), QStringLiteral(" a+b="))),
              "https://www.discogs.com/search/"
              "?type=all&artist=Simon%20%26%20Garfunkel&track=%20a%2Bb%3D");
    EXPECT_EQ(link(service.albumSearchUrl(QStringLiteral("Sjöberg"), QString())),
              "https://www.discogs.com/search/?type=all&artist=Sj%C3%B6berg&title=");
    const QUrl page = *service.albumSearchUrl(QStringLiteral("#1 100%"), QStringLiteral("a/b?c"));
    EXPECT_EQ(QUrlQuery(page).queryItemValue(QStringLiteral("artist"), QUrl::FullyDecoded),
              QStringLiteral("#1 100%"));
    EXPECT_EQ(QUrlQuery(page).queryItemValue(QStringLiteral("title"), QUrl::FullyDecoded),
              QStringLiteral("a/b?c"));
}

}  // namespace
}  // namespace halvenor::test
