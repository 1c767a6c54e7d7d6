#include "ui/shell/ApplicationShell.h"

#include "platform/appearance/DesktopPreferences.h"
#include "platform/sessionbus/SessionBus.h"
#include "state/AppState.h"
#include "ui/controls/Motion.h"
#include "ui/mainwindow/MainWindow.h"
#include "ui/shell/StatusItem.h"

namespace halvenor {

ApplicationShell::ApplicationShell(AppState& state, DesktopPreferences& preferences)
    : state_(state), preferences_(preferences), tray_([this] { foundTray(); }) {
    state_.onShowMainWindow = [this] { showMainWindow(); };
    motion_ = preferences_.reducesMotion.subscribe(
        [](bool isReduced) { Motion::isReduced() = isReduced; });
}

ApplicationShell::~ApplicationShell() {
    state_.onShowMainWindow = nullptr;
    delete window_;
}

void ApplicationShell::showMainWindow() {
    if (window_ == nullptr) {
        window_ = new MainWindow(state_, preferences_);
        window_->setAttribute(Qt::WA_DeleteOnClose);
        window_->show();
    } else if (window_->isMinimized()) {
        window_->setWindowState(window_->windowState() & ~Qt::WindowMinimized);
    }
    window_->raise();
    window_->activateWindow();
}

void ApplicationShell::startStatusItem(std::chrono::milliseconds delay) {
    tray_.start(delay);
}

void ApplicationShell::foundTray() {
    if (!statusItem_) {
        statusItemTask_.start([this](std::stop_token token) { return placeStatusItem(token); });
    }
}

Task<> ApplicationShell::placeStatusItem(std::stop_token token) {
    auto search = findSessionBus(worker_, token);
    const BusPresence presence = co_await search;
    if (token.stop_requested() || presence == BusPresence::mute) {
        co_return;
    }
    statusItem_ = std::make_unique<StatusItem>(state_);
}

}  // namespace halvenor
