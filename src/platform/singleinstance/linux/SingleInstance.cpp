#include "platform/singleinstance/SingleInstance.h"

#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "platform/singleinstance/linux/InstanceSocket.h"
#include "platform/userfolders/UserFolders.h"

namespace halvenor {

namespace {

constexpr std::chrono::milliseconds retryInterval{10};
// A guest sends its request right after connecting.
constexpr std::chrono::seconds guestPatience{2};
constexpr std::chrono::seconds exhaustionPause{1};
constexpr size_t maximumGuests = 16;

QString problemOf(std::optional<pid_t> process) {
    const QString which = process ? QStringLiteral(" (process %1)").arg(*process) : QString();
    return QStringLiteral(
               "Halvenor is already running%1 but does not answer. End that process and "
               "start Halvenor again.")
        .arg(which);
}

}  // namespace

LaunchRequest LaunchRequest::fromEnvironment() {
    return {qgetenv("XDG_ACTIVATION_TOKEN"), qgetenv("DESKTOP_STARTUP_ID"), {}};
}

/// The first process's side: lock, socket and the launches that are being answered.
class SingleInstance::Listener {
  public:
    Listener(FileDescriptor folder, FileDescriptor lock, FileDescriptor socket)
        : folder_(std::move(folder)), lock_(std::move(lock)), socket_(std::move(socket)) {}
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    // The lock goes last: from then on another process may listen in the same place. Launches that
    // still wait are cut off and take that place.
    ~Listener() {
        instance::removeSocket(folder_);
        notifier_.reset();
        socket_.close();
        guests_.clear();
    }

    void start(std::function<void(const LaunchRequest&)> onLaunch) {
        onLaunch_ = std::move(onLaunch);
        notifier_ = std::make_unique<QSocketNotifier>(socket_.get(), QSocketNotifier::Read);
        QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                         [this] { receiveGuests(); });
    }

  private:
    struct Guest {
        explicit Guest(FileDescriptor accepted)
            : connection(std::move(accepted)), notifier(connection.get(), QSocketNotifier::Read) {}

        FileDescriptor connection;
        QSocketNotifier notifier;
        QTimer timeout;
    };

    void receiveGuests() {
        for (;;) {
            FileDescriptor connection = instance::acceptGuest(socket_);
            if (!connection.isOpen()) {
                restIfExhausted(errno);
                return;
            }
            if (guests_.size() < maximumGuests) {
                receive(std::make_unique<Guest>(std::move(connection)));
            }
        }
    }

    // A guest that can't be accepted for want of descriptors stays in the queue, which would call
    // again at once and for ever.
    void restIfExhausted(int error) {
        if (error != EAGAIN) {
            notifier_->setEnabled(false);
            QTimer::singleShot(exhaustionPause, notifier_.get(),
                               [this] { notifier_->setEnabled(true); });
        }
    }

    void receive(std::unique_ptr<Guest> guest) {
        Guest* const key = guest.get();
        QObject::connect(&key->notifier, &QSocketNotifier::activated, &key->notifier,
                         [this, key] { serve(key); });
        key->timeout.setSingleShot(true);
        key->timeout.callOnTimeout(&key->timeout, [this, key] { dismiss(key); });
        key->timeout.start(guestPatience);
        guests_.push_back(std::move(guest));
    }

    // Showing a window may run the event loop, so the guest is silenced first.
    void serve(Guest* guest) {
        guest->notifier.setEnabled(false);
        guest->timeout.stop();
        std::array<char, instance::packetSize> packet{};
        const ssize_t length = ::recv(guest->connection.get(), packet.data(), packet.size(), 0);
        const auto request =
            instance::parseRequest(QByteArray(packet.data(), std::max<ssize_t>(length, 0)));
        if (request) {
            onLaunch_(*request);
            instance::answer(guest->connection);
        }
        dismiss(guest);
    }

    // Called from the guest's own signals, so its objects go a little later.
    void dismiss(Guest* guest) {
        guest->notifier.setEnabled(false);
        guest->timeout.stop();
        guest->connection.close();
        const auto found = std::ranges::find(guests_, guest, &std::unique_ptr<Guest>::get);
        QTimer::singleShot(0, notifier_.get(),
                           [gone = std::shared_ptr<Guest>(std::move(*found))] {});
        guests_.erase(found);
    }

    FileDescriptor folder_;
    FileDescriptor lock_;
    FileDescriptor socket_;
    std::unique_ptr<QSocketNotifier> notifier_;
    std::function<void(const LaunchRequest&)> onLaunch_;
    std::vector<std::unique_ptr<Guest>> guests_;
};

SingleInstance::SingleInstance(const LaunchRequest& request, std::chrono::milliseconds patience,
                               const FileUrl& folder) {
    try {
        claim(folder, request, patience);
    } catch (const Error& error) {
        qWarning("Whether Halvenor runs already can't be told from %s: %s",
                 folder.path().constData(), error.what());
    }
}

SingleInstance::~SingleInstance() = default;

// Whoever has no lock asks its holder. One that is only just starting does not listen yet, and one
// that is ending no longer does; so both are tried in turn.
void SingleInstance::claim(const FileUrl& folder, const LaunchRequest& request,
                           std::chrono::milliseconds patience) {
    const auto deadline = instance::Clock::now() + patience;
    FileDescriptor opened = instance::openFolder(folder);
    instance::Answer answer;
    do {
        FileDescriptor lock = instance::takeLock(opened);
        if (lock.isOpen()) {
            FileDescriptor socket = instance::listenIn(opened);
            listener_ =
                std::make_unique<Listener>(std::move(opened), std::move(lock), std::move(socket));
            return;
        }
        answer = instance::ask(opened, request, deadline);
        if (answer.outcome == instance::Outcome::followed) {
            role_ = Role::second;
            return;
        }
        ::poll(nullptr, 0, static_cast<int>(retryInterval.count()));
    } while (instance::Clock::now() < deadline);
    role_ = Role::unanswered;
    problem_ = problemOf(answer.process);
}

void SingleInstance::setOnLaunch(std::function<void(const LaunchRequest&)> onLaunch) {
    if (listener_) {
        listener_->start(std::move(onLaunch));
    }
}

FileUrl SingleInstance::defaultFolder() {
    if (const auto runtime = runtimeHome()) {
        return runtime->appendingPathComponent("halvenor");
    }
    return FileUrl("/tmp").appendingPathComponent("halvenor-" + QByteArray::number(::geteuid()));
}

}  // namespace halvenor
