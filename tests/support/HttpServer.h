#pragma once

#include <QHash>
#include <QList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QUrl>

#include <utility>

namespace halvenor::test {

/// A request as it arrived.
struct HttpRequest {
    QByteArray target;  ///< path and query, as they were sent
    QList<std::pair<QByteArray, QByteArray>> headers;

    /// The value of each header of this name, whatever its case.
    QList<QByteArray> values(const QByteArray& name) const;
    QList<QByteArray> headerNames() const;
};

/// What a server does when it is asked for a path: good manners or bad.
struct HttpAnswer {
    enum class Then {
        close,   ///< the connection ends
        stay,    ///< the connection stays, and nothing more comes
        repeat,  ///< `chunk` comes again and again
    };

    QByteArray bytes;  ///< on the wire, head included
    Then then = Then::close;
    QByteArray chunk;
    int pause = 0;  ///< milliseconds between two chunks

    static HttpAnswer ok(const QByteArray& body, const QByteArray& type = "application/json");
    static HttpAnswer status(int code, const QByteArray& headers = {}, const QByteArray& body = {});
    static HttpAnswer redirect(const QByteArray& location, int code = 302);
    /// A body of which less comes than was announced.
    static HttpAnswer truncated(const QByteArray& body, qsizetype announced);
    /// Nothing at all, on a connection that stays.
    static HttpAnswer silence();
    /// A good head, and a body without an end.
    static HttpAnswer endless(const QByteArray& chunk, int pause = 0);
};

/// A small HTTP 1.1 server on loopback, for tests: it does as it was told for each path, answers
/// 404 for others, and remembers who asked for what. Lives in the event loop of its thread.
class HttpServer {
  public:
    HttpServer();

    /// An address on this server. @param target path and query
    QUrl url(const QByteArray& target) const;
    QByteArray address(const QByteArray& target) const { return url(target).toEncoded(); }

    /// What to answer for a path (without a query) from now on.
    void answer(const QByteArray& path, const HttpAnswer& answer);

    const QList<HttpRequest>& requests() const { return requests_; }
    /// The targets of the requests, in order.
    QList<QByteArray> targets() const;
    /// Connections that are open, as far as the server knows.
    int openConnections() const { return openConnections_; }

  private:
    class Connection;

    QTcpServer server_;
    QHash<QByteArray, HttpAnswer> answers_;
    QList<HttpRequest> requests_;
    int openConnections_ = 0;
};

}  // namespace halvenor::test
