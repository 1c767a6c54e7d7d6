#include "ui/mainwindow/MainWindow.h"

#include <QIcon>
#include <QPainter>
#include <QShortcut>
#include <QTimer>
#include <QWindowStateChangeEvent>

#include "platform/appearance/DesktopPreferences.h"
#include "platform/desktop/FileManager.h"
#include "state/AppState.h"
#include "ui/covermode/CoverModeView.h"
#include "ui/mainwindow/KeyMonitor.h"
#include "ui/mainwindow/StandardPlayerView.h"
#include "ui/mainwindow/WindowPrompts.h"
#include "ui/playerbar/PlayerBarView.h"
#include "ui/settings/SettingsView.h"
#include "ui/sheets/ErrorSheet.h"
#include "ui/sidebar/FolderTreeView.h"
#include "ui/sidebar/SidebarView.h"
#include "ui/symbols/Symbols.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

using namespace std::chrono_literals;

namespace {

constexpr QSize defaultSize(1100, 700);
constexpr QSize leastSize(920, 620);

QIcon makeApplicationIcon() {
    QIcon icon;
    for (const int side : {16, 24, 32, 48, 64, 128}) {
        icon.addPixmap(Symbols::applicationIcon(side));
    }
    return icon;
}

void toggle(Published<bool>& value) {
    value = !*value;
}

}  // namespace

MainWindow::MainWindow(AppState& state, DesktopPreferences& preferences)
    : state_(state),
      standard_(new StandardPlayerView(state, this)),
      keyMonitor_(new KeyMonitor(this)),
      prompts_(std::make_unique<WindowPrompts>(state, *this)) {
    setWindowTitle(QStringLiteral("Halvenor"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(leastSize);
    resize(defaultSize);
    keyMonitor_->onAction = [this](WindowAction action) { perform(action); };
    const auto* settingsKey = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma), this);
    connect(settingsKey, &QShortcut::activated, this,
            [this] { toggle(state_.isSettingsPresented); });
    subscribe(preferences);
    showError();
    showSettings(*state_.isSettingsPresented);
    if (*state_.isCoverModePresented) {
        showCoverMode(true);
    }
    state_.applySystemColorScheme(*preferences.appearance);
}

MainWindow::~MainWindow() = default;

SidebarView& MainWindow::sidebar() {
    return standard_->sidebar();
}

TrackListPane& MainWindow::trackList() {
    return standard_->trackList();
}

PlayerBarView& MainWindow::playerBar() {
    return standard_->playerBar();
}

HistoryPanel& MainWindow::history() {
    return standard_->history();
}

void MainWindow::subscribe(DesktopPreferences& preferences) {
    subscriptions_.push_back(
        state_.playbackErrorMessage.subscribe([this](const auto&) { showError(); }));
    subscriptions_.push_back(state_.isSettingsPresented.subscribe(
        [this](bool isPresented) { showSettings(isPresented); }));
    subscriptions_.push_back(state_.isCoverModePresented.subscribe(
        [this](bool isPresented) { showCoverMode(isPresented); }));
    subscriptions_.push_back(preferences.appearance.subscribe(
        [this](SystemAppearance appearance) { state_.applySystemColorScheme(appearance); }));
}

void MainWindow::perform(WindowAction action) {
    switch (action) {
        case WindowAction::showSettings:
            if (!*state_.isSettingsPresented) {
                state_.isSettingsPresented = true;
            }
            break;
        case WindowAction::toggleHistory:
            toggle(state_.isPlaybackQueuePresented);
            break;
        case WindowAction::toggleCoverMode:
            toggle(state_.isCoverModePresented);
            break;
        case WindowAction::playPrevious:
            state_.playPrevious();
            break;
        case WindowAction::toggleMute:
            state_.audioEngine().toggleMute();
            break;
        case WindowAction::playNext:
            state_.playNext();
            break;
        case WindowAction::togglePlayPause:
            state_.audioEngine().togglePlayPause();
            break;
        case WindowAction::revealPlayingFile:
        case WindowAction::toggleFavorite:
            performOnCurrentTrack(action);
            break;
    }
}

void MainWindow::performOnCurrentTrack(WindowAction action) {
    const std::optional<Track> track = *state_.audioEngine().currentTrack;
    if (!track) {
        return;
    }
    if (action == WindowAction::revealPlayingFile) {
        revealInFileManager(track->url());
    } else {
        state_.toggleFavorite(*track);
    }
}

void MainWindow::showError() {
    const auto& message = *state_.playbackErrorMessage;
    if (message && errorSheet_ == nullptr) {
        errorSheet_ = new ErrorSheet(this, QStringLiteral("Playback Error"));
        errorSheet_->onDismissed = [this] {
            state_.playbackErrorMessage.mutate([](auto& text) { text.reset(); });
        };
    }
    if (message) {
        errorSheet_->present(*message);
    } else if (errorSheet_ != nullptr && !errorSheet_->isHidden()) {
        errorSheet_->dismiss();
    }
}

void MainWindow::showSettings(bool isPresented) {
    if (isPresented && settings_ == nullptr) {
        settings_ = new SettingsView(state_, this);
    }
    if (settings_ != nullptr) {
        settings_->setPresented(isPresented);
    }
}

void MainWindow::showCoverMode(bool isPresented) {
    if (isPresented && coverMode_ == nullptr) {
        coverMode_ = new CoverModeView(state_, this);
        coverMode_->setGeometry(rect());
        coverMode_->lower();
    }
    const bool isShown = !standard_->isVisibleTo(this);
    if (isPresented == isShown) {
        return;
    }
    standard_->setVisible(!isPresented);
    if (coverMode_ != nullptr) {
        coverMode_->setVisible(isPresented);
    }
    QWidget* const first = isPresented ? static_cast<QWidget*>(coverMode_) : &sidebar().tree();
    first->setFocus(Qt::OtherFocusReason);
    QMetaObject::invokeMethod(
        this, [this] { setWindowFullScreen(*state_.isCoverModePresented); }, Qt::QueuedConnection);
}

// A turn later: the window paints what it now shows first.
void MainWindow::setWindowFullScreen(bool wanted) {
    if (isFullScreen() != wanted) {
        setWindowState(windowState() ^ Qt::WindowFullScreen);
    }
}

void MainWindow::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(
        rect(), *state_.isCoverModePresented ? QColor(Qt::black) : HalvenorTheme::windowBackdrop());
}

void MainWindow::resizeEvent(QResizeEvent*) {
    standard_->setGeometry(rect());
    if (coverMode_ != nullptr) {
        coverMode_->setGeometry(rect());
    }
}

void MainWindow::showEvent(QShowEvent*) {
    if (hasBeenShown_) {
        return;
    }
    hasBeenShown_ = true;
    sidebar().tree().setFocus(Qt::OtherFocusReason);
    // Rendering the icon can wait until there is something to look at.
    QTimer::singleShot(200ms, this, [this] { setWindowIcon(makeApplicationIcon()); });
}

void MainWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() != QEvent::WindowStateChange) {
        return;
    }
    if (!isMinimized()) {
        playerBar().refreshTime();
    }
    const Qt::WindowStates before = static_cast<QWindowStateChangeEvent*>(event)->oldState();
    const bool hasLeftFullScreen = (before & Qt::WindowFullScreen) != 0 && !isFullScreen();
    if (hasLeftFullScreen && !isMinimized() && *state_.isCoverModePresented) {
        state_.isCoverModePresented = false;
    }
}

}  // namespace halvenor
