#pragma once

#include <QByteArray>
#include <QList>
#include <QUrl>

#include <chrono>
#include <memory>
#include <stop_token>
#include <utility>
#include <vector>

#include "base/Task.h"

namespace halvenor {

class WebBackend;

/// What to fetch, and how much the server may take of time and memory for it.
struct WebRequest {
    WebRequest() = default;

    QUrl url;  ///< http or https
    /// Name and value, in the order in which they are sent. Host and what belongs to the connection
    /// is added.
    QList<std::pair<QByteArray, QByteArray>> headers;
    /// How long nothing may arrive before the request fails.
    std::chrono::milliseconds timeOut{60000};
    /// How long everything may take, redirects included, even where bytes keep coming.
    std::chrono::milliseconds longestTime{300000};
    /// Bytes in the body, unpacked, beyond which the request fails.
    qsizetype mostBytes = 32 << 20;
    int mostRedirects = 10;
};

/// What a server answered, whatever it thinks of the request.
struct WebAnswer {
    WebAnswer() = default;

    int status = 0;  ///< of HTTP; of the last answer, where redirects were followed
    QByteArray body;

    bool isSuccess() const { return status >= 200 && status < 300; }
};

/// Fetches from web servers (HTTP 1.1, and 2 over TLS), without a memory: no cache, no cookies, no
/// credentials. Connections are kept for the next request and closed with the client. Redirects
/// are followed, but never to another scheme than http and https, nor from https to http.
///
/// Main thread, but for preload().
class WebClient {
  public:
    /// Loads the network library and what it needs for https, which takes longer than a frame. The
    /// first request does it otherwise. Any thread.
    /// @throws Error (unavailable) when the network library can't be loaded
    static void preload();

    /// @throws Error (unavailable) when the network library can't be loaded
    WebClient();
    /// Aborts what is under way; its waiters get Cancelled.
    ~WebClient();
    WebClient(const WebClient&) = delete;
    WebClient& operator=(const WebClient&) = delete;

    /// Fetches, and ends in Error (unavailable) where no whole answer came within the bounds.
    /// @param token a stop, on the main thread, aborts the request at once; the wait then throws
    /// Cancelled in a later turn of the event loop
    Job<WebAnswer> get(const WebRequest& request, std::stop_token token = {});

  private:
    class Exchange;

    std::unique_ptr<WebBackend> backend_;
    std::vector<std::weak_ptr<Exchange>> exchanges_;  // those that run, and some that have ended
};

}  // namespace halvenor
