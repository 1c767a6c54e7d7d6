#include "support/HttpServer.h"

#include <stdexcept>

namespace halvenor::test {

namespace {

QByteArray head(const QByteArray& status, const QByteArray& headers) {
    return "HTTP/1.1 " + status + "\r\n" + headers + "\r\n";
}

HttpRequest parseRequest(const QByteArray& text) {
    HttpRequest request;
    QList<QByteArray> lines = text.split('\n');
    request.target = lines.takeFirst().split(' ').value(1);
    for (const QByteArray& line : std::as_const(lines)) {
        const qsizetype colon = line.indexOf(':');
        request.headers.append({line.left(colon), line.mid(colon + 1).trimmed()});
    }
    return request;
}

}  // namespace

QList<QByteArray> HttpRequest::values(const QByteArray& name) const {
    QList<QByteArray> found;
    for (const auto& [key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0) {
            found.append(value);
        }
    }
    return found;
}

QList<QByteArray> HttpRequest::headerNames() const {
    QList<QByteArray> names;
    for (const auto& header : headers) {
        names.append(header.first);
    }
    return names;
}

HttpAnswer HttpAnswer::ok(const QByteArray& body, const QByteArray& type) {
    return status(200, "Content-Type: " + type + "\r\n", body);
}

HttpAnswer HttpAnswer::status(int code, const QByteArray& headers, const QByteArray& body) {
    const QByteArray length = "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
    return {
        head(QByteArray::number(code) + " Status", headers + length) + body, Then::close, {}, 0};
}

HttpAnswer HttpAnswer::redirect(const QByteArray& location, int code) {
    return status(code, "Location: " + location + "\r\n");
}

HttpAnswer HttpAnswer::truncated(const QByteArray& body, qsizetype announced) {
    const QByteArray length = "Content-Length: " + QByteArray::number(announced) + "\r\n";
    return {head("200 OK", length) + body, Then::close, {}, 0};
}

HttpAnswer HttpAnswer::silence() {
    return {{}, Then::stay, {}, 0};
}

HttpAnswer HttpAnswer::endless(const QByteArray& chunk, int pause) {
    return {head("200 OK", "Content-Type: image/jpeg\r\n"), Then::repeat, chunk, pause};
}

/// One client. Ends itself when its connection does.
class HttpServer::Connection : public QObject {
  public:
    Connection(HttpServer& server, QTcpSocket* socket)
        : QObject(&server.server_), server_(server), socket_(socket) {
        socket->setParent(this);
        ++server_.openConnections_;
        QObject::connect(socket, &QTcpSocket::readyRead, this, [this] { onBytes(); });
        QObject::connect(socket, &QTcpSocket::disconnected, this, [this] {
            --server_.openConnections_;
            socket_->disconnect(this);
            deleteLater();
        });
        more_.callOnTimeout(this, [this] { sendMore(); });
    }

  private:
    void onBytes() {
        received_ += socket_->readAll();
        const qsizetype end = received_.indexOf("\r\n\r\n");
        if (end < 0) {
            return;
        }
        const HttpRequest request = parseRequest(received_.left(end));
        received_.remove(0, end + 4);
        server_.requests_.append(request);
        const QByteArray path = request.target.split('?').first();
        answer_ = server_.answers_.value(path, HttpAnswer::status(404));
        socket_->write(answer_.bytes);
        if (answer_.then == HttpAnswer::Then::close) {
            socket_->disconnectFromHost();
        } else if (answer_.then == HttpAnswer::Then::repeat) {
            more_.start(answer_.pause);
        }
    }

    void sendMore() {
        constexpr qint64 plenty = 1 << 20;
        if (socket_->bytesToWrite() < plenty) {
            socket_->write(answer_.chunk);
        }
    }

    HttpServer& server_;
    QTcpSocket* const socket_;
    QByteArray received_;
    HttpAnswer answer_;
    QTimer more_;
};

HttpServer::HttpServer() {
    if (!server_.listen(QHostAddress::LocalHost)) {
        throw std::runtime_error("no port on loopback");
    }
    QObject::connect(&server_, &QTcpServer::newConnection, &server_, [this] {
        while (QTcpSocket* const socket = server_.nextPendingConnection()) {
            new Connection(*this, socket);
        }
    });
}

QUrl HttpServer::url(const QByteArray& target) const {
    return QUrl::fromEncoded("http://127.0.0.1:" + QByteArray::number(server_.serverPort()) +
                             target);
}

void HttpServer::answer(const QByteArray& path, const HttpAnswer& answer) {
    answers_.insert(path, answer);
}

QList<QByteArray> HttpServer::targets() const {
    QList<QByteArray> all;
    for (const HttpRequest& request : requests_) {
        all.append(request.target);
    }
    return all;
}

}  // namespace halvenor::test
