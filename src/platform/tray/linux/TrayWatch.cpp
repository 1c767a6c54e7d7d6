#include "platform/tray/TrayWatch.h"

#include <QTimer>

#include "platform/tray/linux/StatusNotifiers.h"
#include "platform/tray/linux/XTray.h"

namespace halvenor {

/// Both kinds of tray that panels have.
class TrayWatch::Impl {
  public:
    explicit Impl(const std::function<void()>& onTray) : notifiers_(onTray), xTray_(onTray) {}

    void start(std::chrono::milliseconds delay) {
        notifiers_.start(delay);
        QTimer::singleShot(delay, &notifiers_, [this] { xTray_.start(); });
    }

  private:
    StatusNotifiers notifiers_;
    XTray xTray_;
};

TrayWatch::TrayWatch(std::function<void()> onTray)
    : impl_(std::make_unique<Impl>(std::move(onTray))) {}

TrayWatch::~TrayWatch() = default;

void TrayWatch::start(std::chrono::milliseconds delay) {
    impl_->start(delay);
}

}  // namespace halvenor
