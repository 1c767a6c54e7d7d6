// The web on Qt Network, whose own thread does the talking; this side only collects what came.
#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QSslConfiguration>
#include <QTimer>

#include "platform/web/WebBackend.h"

namespace halvenor {

namespace {

QNetworkRequest qtRequest(const WebRequest& request) {
    QNetworkRequest made(request.url);
    for (const auto& [name, value] : request.headers) {
        made.setRawHeader(name, value);
    }
    made.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                      QNetworkRequest::NoLessSafeRedirectPolicy);
    made.setMaximumRedirectsAllowed(request.mostRedirects);
    for (const auto memory :
         {QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::CookieSaveControlAttribute,
          QNetworkRequest::AuthenticationReuseAttribute}) {
        made.setAttribute(memory, QNetworkRequest::Manual);
    }
    return made;
}

constexpr qint64 readAhead = 256 << 10;  // bytes that Qt takes before this side has read them

class QtTransfer final : public WebTransfer {
  public:
    QtTransfer(QNetworkReply* reply, const WebRequest& request,
               std::function<void(WebOutcome)> onEnd)
        : reply_(reply), mostBytes_(request.mostBytes), onEnd_(std::move(onEnd)) {
        // A server that sends without end would keep Qt's thread reading, and a request that was
        // given up would hold up the next one.
        reply->setReadBufferSize(readAhead);
        QObject::connect(reply, &QNetworkReply::metaDataChanged, &context_, [this] { onHead(); });
        QObject::connect(reply, &QNetworkReply::redirected, &context_, [this] { idle_.start(); });
        QObject::connect(reply, &QNetworkReply::readyRead, &context_, [this] { onBytes(); });
        QObject::connect(reply, &QNetworkReply::finished, &context_, [this] { onFinished(); });
        startTimer(idle_, request.timeOut);
        startTimer(whole_, request.longestTime);
    }

    ~QtTransfer() override { letGo(); }

  private:
    void startTimer(QTimer& timer, std::chrono::milliseconds time) {
        timer.setSingleShot(true);
        timer.callOnTimeout(&context_, [this] { fail(QStringLiteral("The request timed out.")); });
        timer.start(time);
    }

    void onHead() {
        idle_.start();
        if (reply_->header(QNetworkRequest::ContentLengthHeader).toLongLong() > mostBytes_) {
            fail(QStringLiteral("The answer is too large."));
        }
    }

    void onBytes() {
        idle_.start();
        body_ += reply_->read(mostBytes_ + 1 - body_.size());
        if (body_.size() > mostBytes_) {
            fail(QStringLiteral("The answer is too large."));
        }
    }

    void onFinished() {
        onBytes();
        const QVariant status = reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute);
        WebAnswer answer;
        answer.status = status.toInt();
        answer.body = body_;
        if (status.isNull() || (answer.isSuccess() && reply_->error() != QNetworkReply::NoError)) {
            fail(reply_->errorString());
        } else {
            end({answer, {}});
        }
    }

    void fail(const QString& why) { end({std::nullopt, why}); }

    void end(WebOutcome outcome) {
        if (const auto onEnd = std::exchange(onEnd_, nullptr)) {
            letGo();
            onEnd(std::move(outcome));
        }
    }

    // The reply is gone before this where the application ended first.
    void letGo() {
        idle_.stop();
        whole_.stop();
        if (reply_) {
            reply_->disconnect(&context_);
            reply_->abort();
            reply_->deleteLater();
        }
    }

    QPointer<QNetworkReply> reply_;
    const qsizetype mostBytes_;
    std::function<void(WebOutcome)> onEnd_;
    QByteArray body_;
    QObject context_;
    QTimer idle_;
    QTimer whole_;
};

class QtWebBackend final : public WebBackend {
  public:
    ~QtWebBackend() override { delete manager_; }

    std::unique_ptr<WebTransfer> start(const WebRequest& request,
                                       std::function<void(WebOutcome)> onEnd) override {
        return std::make_unique<QtTransfer>(manager_->get(qtRequest(request)), request,
                                            std::move(onEnd));
    }

  private:
    // The application's child too, so that its thread ends with the application at the latest.
    QPointer<QNetworkAccessManager> manager_ =
        new QNetworkAccessManager(QCoreApplication::instance());
};

}  // namespace

extern "C" [[gnu::visibility("default")]] void halvenorMakeWebBackend(
    std::unique_ptr<WebBackend>& backend) {
    backend = std::make_unique<QtWebBackend>();
}

extern "C" [[gnu::visibility("default")]] void halvenorPreloadWebBackend() {
    QSslConfiguration::defaultConfiguration();
}

}  // namespace halvenor
