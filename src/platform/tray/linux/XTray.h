#pragma once

#include <QAbstractNativeEventFilter>

#include <cstdint>
#include <functional>

namespace halvenor {

/// The tray that is reached through the X server
/// (https://specifications.freedesktop.org/systemtray-spec/latest/): a panel that owns a selection,
/// and tells everybody when it comes to own it. Where the window system is another there is none.
/// Main thread.
class XTray final : public QAbstractNativeEventFilter {
  public:
    /// @param onTray there is one; called whenever that is seen
    explicit XTray(std::function<void()> onTray);

    /// Looks, and listens from now on. Called once; the application object is there.
    void start();

    /// For the toolkit, which has every event pass here.
    /// @return false: others see it too
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

  private:
    std::function<void()> onTray_;
    uint32_t manager_ = 0;    ///< the atom of the announcement; none before start()
    uint32_t selection_ = 0;  ///< the atom of the tray's selection
};

}  // namespace halvenor
