#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <optional>

#include "platform/web/WebClient.h"

/// The line between the program and the module that has the network library behind it.
namespace halvenor {

/// How a transfer ended: with an answer, or with words for what went wrong.
struct WebOutcome {
    std::optional<WebAnswer> answer;
    QString failure;
};

/// A request under way. Its end aborts it at once.
class WebTransfer {
  public:
    virtual ~WebTransfer() = default;
};

/// Makes transfers. Main thread.
class WebBackend {
  public:
    virtual ~WebBackend() = default;

    /// @param onEnd called at most once, from the event loop and never from within start(); not
    /// after the transfer's end. It may not destroy the transfer.
    virtual std::unique_ptr<WebTransfer> start(const WebRequest& request,
                                               std::function<void(WebOutcome)> onEnd) = 0;
};

}  // namespace halvenor
