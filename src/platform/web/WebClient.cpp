#include "platform/web/WebClient.h"

#include <functional>
#include <optional>

#include "base/Error.h"
#include "base/LateLibrary.h"
#include "platform/web/WebBackend.h"

namespace halvenor {

namespace {

constinit const LateLibrary webModule("libhalvenor-web.so",
                                      "The part of Halvenor that reaches the web is missing.");
constinit const LateFunction<void(std::unique_ptr<WebBackend>&)> makeBackend(
    webModule, "halvenorMakeWebBackend");
constinit const LateFunction<void()> preloadBackend(webModule, "halvenorPreloadWebBackend");

}  // namespace

/// One request and its waiter. Keeps itself alive until it has ended.
class WebClient::Exchange : public std::enable_shared_from_this<Exchange> {
  public:
    Job<WebAnswer> job() const { return Job<WebAnswer>(state_); }

    void start(WebBackend& backend, const WebRequest& request, std::stop_token token) {
        self_ = shared_from_this();
        transfer_ = backend.start(request, [this](WebOutcome outcome) { end(std::move(outcome)); });
        onStop_.emplace(std::move(token), [this] { cancel(); });
    }

    void cancel() {
        if (!isSettled_) {
            transfer_.reset();
            settle(std::nullopt, std::make_exception_ptr(Cancelled()));
        }
    }

  private:
    void end(WebOutcome outcome) {
        if (outcome.answer) {
            settle(std::move(outcome.answer), nullptr);
        } else {
            settle(std::nullopt,
                   std::make_exception_ptr(Error(ErrorKind::unavailable, outcome.failure)));
        }
    }

    // The waiter goes on in a later turn: it may destroy the client, whose code may be on the
    // stack here, and whoever asks for a stop does not expect others to run meanwhile.
    void settle(std::optional<WebAnswer> answer, std::exception_ptr error) {
        isSettled_ = true;
        state_->value = std::move(answer);
        state_->error = std::move(error);
        postToMainThread([self = std::move(self_)] {
            self->transfer_.reset();
            self->onStop_.reset();
            self->state_->isDone = true;
            if (const auto waiter = std::exchange(self->state_->waiter, nullptr)) {
                waiter.resume();
            }
        });
    }

    std::shared_ptr<Job<WebAnswer>::State> state_ = std::make_shared<Job<WebAnswer>::State>();
    std::shared_ptr<Exchange> self_;
    std::unique_ptr<WebTransfer> transfer_;
    std::optional<std::stop_callback<std::function<void()>>> onStop_;
    bool isSettled_ = false;
};

void WebClient::preload() {
    preloadBackend();
}

WebClient::WebClient() {
    makeBackend(backend_);
}

WebClient::~WebClient() {
    for (const auto& weak : exchanges_) {
        if (const auto exchange = weak.lock()) {
            exchange->cancel();
        }
    }
}

Job<WebAnswer> WebClient::get(const WebRequest& request, std::stop_token token) {
    std::erase_if(exchanges_, [](const auto& weak) { return weak.expired(); });
    const auto exchange = std::make_shared<Exchange>();
    exchanges_.push_back(exchange);
    exchange->start(*backend_, request, std::move(token));
    return exchange->job();
}

}  // namespace halvenor
