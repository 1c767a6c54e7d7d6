// Servers that are slow, gone, in the wrong, or out to do harm; and users who don't wait.
#include "base/Error.h"
#include "discogs/DiscogsFixture.h"

namespace halvenor::test {
namespace {

using testing::Optional;

class HostileServer : public DiscogsFixture {
  protected:
    // How long a search takes, in milliseconds, that has `answer` for its first cover. It goes on
    // to the second and takes that.
    qint64 timePast(const HttpAnswer& answer) {
        answerSearch({result(server_.address("/bad")), result(server_.address("/good"))});
        server_.answer("/bad", answer);
        server_.answer("/good", HttpAnswer::ok(picture("png"), "image/png"));
        QElapsedTimer timer;
        timer.start();
        EXPECT_THAT(searchCover(), Optional(picture("png")));
        EXPECT_EQ(printed_, "");
        return timer.elapsed();
    }
};

TEST_F(HostileServer, takesOnlySoMuchOfItsTime) {
    const auto silent = timePast(HttpAnswer::silence());
    EXPECT_GE(silent, timeOut.count() * 9 / 10);
    EXPECT_LT(silent, timeOut.count() + 5000);

    HttpAnswer stalled = HttpAnswer::truncated(picture("png"), 5000);
    stalled.then = HttpAnswer::Then::stay;
    EXPECT_GE(timePast(stalled), timeOut.count() * 9 / 10) << "begins well and stops";

    const auto dripping = timePast(HttpAnswer::endless("x", 20));
    EXPECT_GE(dripping, longestRequest.count() * 9 / 10) << "bytes that keep coming are no silence";
    EXPECT_LT(dripping, longestRequest.count() + 5000);
}

TEST_F(HostileServer, takesOnlySoMuchOfItsBytes) {
    EXPECT_LT(timePast(HttpAnswer::endless(QByteArray(50000, 'x'))), timeOut.count())
        << "given up as soon as it is too much, however fast more of it comes";
    HttpAnswer announced = HttpAnswer::truncated(picture("png"), 1LL << 40);
    announced.then = HttpAnswer::Then::stay;
    EXPECT_LT(timePast(announced), timeOut.count()) << "the head says that it is too much";
    timePast(HttpAnswer::ok(picture("png") + QByteArray(200001, '\0'), "image/png"));

    // The same of what is not an image.
    server_.answer("/database/search",
                   HttpAnswer::ok("{\"results\": []}" + QByteArray(100000, ' ')));
    EXPECT_FALSE(searchCover());
    EXPECT_EQ(printed_, "Discogs cover fetch error: The answer is too large.\n");
    server_.answer("/database/search",
                   HttpAnswer::ok("{\"results\": []}" + QByteArray(100000 - 15, ' ')));
    EXPECT_FALSE(searchCover());
    EXPECT_EQ(printed_, "") << "just small enough";
}

// One megabyte of zeros, packed to about a kilobyte.
TEST_F(HostileServer, unpacksNoMoreThanItWouldTake) {
    const QByteArray packed = qCompress(QByteArray(1 << 20, '\0'), 9).mid(4);
    ASSERT_LT(packed.size(), 5000);
    timePast(HttpAnswer::status(200, "Content-Encoding: deflate\r\n", packed));
}

TEST_F(HostileServer, leadsNowhereButToTheWeb) {
    for (const QByteArray& place :
         {QByteArray("file:///etc/hostname"), QByteArray("ftp://127.0.0.1/a.png"),
          QByteArray("data:image/png;base64,") + picture("png").toBase64(),
          QByteArray("qrc:/a.png"), QByteArray("http://"), QByteArray()}) {
        EXPECT_LT(timePast(HttpAnswer::redirect(place)), 5000) << place.toStdString();
    }
    server_.answer("/loop", HttpAnswer::redirect(server_.address("/loop")));
    timePast(HttpAnswer::redirect("/loop"));
    // Now and then one more: the toolkit asks again where a connection ends under its request.
    EXPECT_GE(server_.targets().count("/loop"), 10);
    EXPECT_LE(server_.targets().count("/loop"), 13);
}

TEST_F(HostileServer, mayBreakOffAnywhere) {
    const QByteArray head = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    for (const QByteArray& bytes :
         {QByteArray("HTTP/1.1 200 O"), QByteArray("\r\n\r\n"), QByteArray("SSH-2.0-x\r\n"),
          head + "5\r\nabcde\r\n", head + "zz\r\n", head + "FFFFFFFFFFFFFFFFF\r\nabc",
          QByteArray("HTTP/1.1 200 OK\r\nContent-Length: -5\r\n\r\n"),
          QByteArray("HTTP/1.1 200 OK\r\n") + QByteArray(70000, 'h') + "\r\n\r\n",
          HttpAnswer::truncated(picture("png"), picture("png").size() + 1).bytes}) {
        HttpAnswer answer;
        answer.bytes = bytes;
        EXPECT_LT(timePast(answer), timeOut.count() + 5000) << bytes.left(60).toStdString();
    }
}

TEST_F(HostileServer, mayBeGone) {
    DiscogsConfiguration gone = configuration();
    {
        const HttpServer other;
        gone.baseUrl = other.url("/database/search");
    }
    DiscogsService service(gone);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(
        runToCompletion(service.searchCoverArt(QStringLiteral("Ada"), QStringLiteral("First"))));
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                testing::StartsWith("Discogs cover fetch error: "));
}

Task<> countCancelled(DiscogsService& service, std::stop_token token, int* cancelled) {
    auto searching = service.searchCoverArt(QStringLiteral("Ada"), QStringLiteral("First"), token);
    try {
        co_await searching;
    } catch (const Cancelled&) {
        ++*cancelled;
    }
}

TEST_F(HostileServer, isLeftAtOnceWhenTheUserDoesNotWait) {
    DiscogsConfiguration patient = configuration();
    patient.timeOut = patient.longestRequest = patience;
    DiscogsService service(patient);
    int cancelled = 0;
    server_.answer("/database/search", HttpAnswer::silence());
    {
        TaskSlot slot;
        for (int i = 1; i <= 3; ++i) {  // each replaces the one before
            slot.start(
                [&](std::stop_token token) { return countCancelled(service, token, &cancelled); });
            EXPECT_EQ(cancelled, i > 1 ? i - 2 : 0) << "not from within the slot";
            ASSERT_TRUE(spinUntil([&] {
                return server_.requests().size() == i && server_.openConnections() == 1 &&
                       cancelled == i - 1;
            })) << i;
        }
    }
    // The owner is gone.
    QElapsedTimer timer;
    timer.start();
    ASSERT_TRUE(spinUntil([&] { return cancelled == 3 && server_.openConnections() == 0; }));
    EXPECT_LT(timer.elapsed(), 2000);

    std::stop_source stopped;
    stopped.request_stop();
    spawn(countCancelled(service, stopped.get_token(), &cancelled));
    ASSERT_TRUE(spinUntil([&] { return cancelled == 4; }));
    EXPECT_EQ(server_.requests().size(), 3);
}

TEST_F(HostileServer, doesNotHoldUpTheMainThread) {
    DiscogsConfiguration generous = configuration();
    generous.mostAnswerBytes = generous.mostImageBytes = 16 << 20;
    generous.timeOut = generous.longestRequest = patience;
    DiscogsService service(generous);
    QByteArray answer = "{\"results\": [" + result(server_.address("/large.jpg"));
    while (answer.size() < (7 << 20)) {
        answer += ',' + result("http://127.0.0.1:1/");
    }
    server_.answer("/database/search", HttpAnswer::ok(answer + "]}"));
    const QByteArray large = noisePicture(3000, 3000);
    server_.answer("/large.jpg", HttpAnswer::ok(large, "image/jpeg"));
    const EventLoopTicker ticker;
    EXPECT_THAT(
        runToCompletion(service.searchCoverArt(QStringLiteral("Ada"), QStringLiteral("First"))),
        Optional(large));
    EXPECT_LT(ticker.longestStall(), 200);
}

TEST(WebClient, endsItsRequestsWithItself) {
    HttpServer server;
    server.answer("/silent", HttpAnswer::silence());
    auto client = std::make_unique<WebClient>();
    WebRequest request;
    request.url = server.url("/silent");
    const auto waiting = client->get(request);
    ASSERT_TRUE(spinUntil([&] { return server.requests().size() == 1; }));
    client.reset();
    EXPECT_THROW(runToCompletion(waiting), Cancelled);
    EXPECT_TRUE(spinUntil([&] { return server.openConnections() == 0; }));
}

}  // namespace
}  // namespace halvenor::test
