#include <QByteArray>

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>
#include <utility>

#include "base/Collation.h"
#include "base/MainThread.h"
#include "platform/audio/AudioOutputDevices.h"
#include "platform/audio/linux/PulseConnection.h"

namespace halvenor {

namespace {

using std::chrono::milliseconds;

/// A server that has just started finds its devices one after another; so long they may take.
constexpr milliseconds settlingTime(3000);

/// The sinks of the sound server, over a connection of its own that lives from start() on.
///
/// The server tells that something about its sinks has changed, not what; so all of them are asked
/// for again. Changes that come while an answer is under way make one more question, not many.
///
/// Threads: calls come from the main thread; answers come on the mainloop's thread, which puts a
/// list together and posts it.
class PulseOutputDevices final : public AudioOutputDeviceService {
  public:
    explicit PulseOutputDevices(QByteArray applicationName)
        : applicationName_(std::move(applicationName)) {}
    ~PulseOutputDevices() override {
        self_.reset();
        if (starter_.joinable()) {
            starter_.join();
        }
        if (connection_) {
            const PulseLock lock(connection_->loop());
            settling_.stop();
            connection_->drop();
        }
        connection_.reset();
    }

    void start() override {
        if (!starter_.joinable()) {
            starter_ = std::thread([this] { connect(); });
        }
    }

    const AudioOutputDeviceList& availableDevices() const override { return delivered_; }

  private:
    /// Loads the library and starts the mainloop, which takes some 20 ms: on a thread of its own.
    void connect() {
        try {
            pulse::load();
        } catch (const Error&) {
            return;  // Without the library there is no sound and no device.
        }
        connection_ = std::make_unique<PulseConnection>(
            applicationName_, PulseConnection::Listener{.ready = [this] { connected(); },
                                                        .failed = [this] { lost(); }});
        const PulseLock lock(connection_->loop());
        connection_->connect();
    }

    void connected() {
        list_.isConnected = true;
        list_.isSettled = false;
        list_.seen.clear();
        isAsking_ = false;
        pa_context* context = connection_->context();
        pulse::pa_context_set_subscribe_callback(
            context,
            [](pa_context*, pa_subscription_event_type_t, uint32_t, void* user) {
                static_cast<PulseOutputDevices*>(user)->ask();
            },
            this);
        release(pulse::pa_context_subscribe(
            context,
            static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SINK |
                                                PA_SUBSCRIPTION_MASK_SERVER),
            nullptr, nullptr));
        settling_.start(connection_->loop(), context, settlingTime, [this] {
            list_.isSettled = true;
            ask();
        });
        ask();
    }

    /// The devices stay as they were: a server that goes away takes none with it.
    void lost() {
        settling_.stop();
        list_.isConnected = false;
        tell();
        connection_->connectLater();
    }

    void ask() {
        pa_context* context = connection_->context();
        if (!context || pulse::pa_context_get_state(context) != PA_CONTEXT_READY) {
            return;
        }
        if (std::exchange(isAsking_, true)) {
            isAnswerStale_ = true;
            return;
        }
        isAnswerStale_ = false;
        answer_.clear();
        release(pulse::pa_context_get_server_info(
            context,
            [](pa_context*, const pa_server_info* server, void* user) {
                auto* self = static_cast<PulseOutputDevices*>(user);
                self->list_.defaultID =
                    QString::fromUtf8(server ? server->default_sink_name : nullptr);
            },
            this));
        release(pulse::pa_context_get_sink_info_list(
            context,
            [](pa_context*, const pa_sink_info* sink, int end, void* user) {
                auto* self = static_cast<PulseOutputDevices*>(user);
                if (end != 0) {
                    self->answered(end > 0);
                } else if (sink) {
                    self->add(*sink);
                }
            },
            this));
    }

    void add(const pa_sink_info& sink) {
        AudioOutputDevice device{.id = QString::fromUtf8(sink.name),
                                 .name = QString::fromUtf8(sink.description),
                                 .deviceID = sink.index};
        if (!device.id.isEmpty() && !device.name.isEmpty()) {
            answer_.append(std::move(device));
        }
    }

    void answered(bool isWhole) {
        isAsking_ = false;
        if (isAnswerStale_) {
            ask();
            return;
        }
        if (!isWhole) {
            return;  // The connection is failing, or the next change will tell.
        }
        connection_->resetPatience();
        list_.devices = std::exchange(answer_, {});
        for (const AudioOutputDevice& device : list_.devices) {
            list_.seen.insert(device.id);
        }
        if (!list_.contains(list_.defaultID)) {
            list_.defaultID.clear();  // The server has a name to tell even without any sink.
        }
        tell();
    }

    void tell() {
        postToMainThread([weak = weak_, list = list_] {
            if (const auto self = weak.lock()) {
                (*self)->deliver(list);
            }
        });
    }

    void deliver(AudioOutputDeviceList list) {
        std::stable_sort(list.devices.begin(), list.devices.end(),
                         [](const AudioOutputDevice& a, const AudioOutputDevice& b) {
                             return localizedStandardCompare(a.name, b.name) < 0;
                         });
        if (list != delivered_) {
            delivered_ = std::move(list);
            tellListeners();
        }
    }

    const QByteArray applicationName_;
    std::thread starter_;
    /// Made by the starter; the main thread touches it when that has ended.
    std::unique_ptr<PulseConnection> connection_;

    // The mainloop's thread, or under its lock.
    AudioOutputDeviceList list_;
    QList<AudioOutputDevice> answer_;
    bool isAsking_ = false;
    bool isAnswerStale_ = false;
    PulseTimer settling_;

    // The main thread.
    AudioOutputDeviceList delivered_;
    /// Ends with the service: a list posted before finds nobody.
    std::shared_ptr<PulseOutputDevices*> self_ = std::make_shared<PulseOutputDevices*>(this);
    const std::weak_ptr<PulseOutputDevices*> weak_ = self_;
};

}  // namespace

std::unique_ptr<AudioOutputDeviceService> makeSystemOutputDevices(const QString& applicationName) {
    return std::make_unique<PulseOutputDevices>(applicationName.toUtf8());
}

}  // namespace halvenor
