#include "ui/mainwindow/MainWindow.h"

#include <QIcon>
#include <QPainter>
#include <QStyle>
#include <QTimer>

#include <cmath>

#include "platform/appearance/DesktopPreferences.h"
#include "platform/desktop/FileManager.h"
#include "state/AppState.h"
#include "ui/mainwindow/KeyMonitor.h"
#include "ui/mainwindow/SplitDivider.h"
#include "ui/mainwindow/SplitRule.h"
#include "ui/mainwindow/WindowPrompts.h"
#include "ui/playerbar/HistoryPanel.h"
#include "ui/playerbar/PlayerBarView.h"
#include "ui/sheets/ErrorSheet.h"
#include "ui/sidebar/FolderTreeView.h"
#include "ui/sidebar/SidebarView.h"
#include "ui/symbols/Symbols.h"
#include "ui/theme/HalvenorTheme.h"
#include "ui/tracklist/TrackListPane.h"

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

}  // namespace

MainWindow::MainWindow(AppState& state, DesktopPreferences& preferences)
    : state_(state),
      sidebar_(new SidebarView(state, this)),
      trackList_(new TrackListPane(state, this)),
      divider_(new SplitDivider(this)),
      playerBar_(new PlayerBarView(state, this)),
      history_(new HistoryPanel(state, this)),
      keyMonitor_(new KeyMonitor(this)),
      prompts_(std::make_unique<WindowPrompts>(state, *this)) {
    setWindowTitle(QStringLiteral("Halvenor"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(leastSize);
    resize(defaultSize);
    divider_->setObjectName(QStringLiteral("divider"));
    divider_->onDragged = [this](double x) { dragDivider(x); };
    playerBar_->onHistoryToggled = [this] { toggleHistory(); };
    keyMonitor_->onAction = [this](WindowAction action) { perform(action); };
    subscriptions_.push_back(
        state_.playbackErrorMessage.subscribe([this](const auto&) { showError(); }));
    showError();
    subscriptions_.push_back(preferences.appearance.subscribe([this](SystemAppearance appearance) {
        state_.applySystemColorScheme(appearance);
    }));
    state_.applySystemColorScheme(*preferences.appearance);
}

MainWindow::~MainWindow() = default;

void MainWindow::layOut() {
    constexpr auto barHeight = static_cast<int>(HalvenorTheme::playbarHeight);
    const int upper = height() - barHeight;
    const int split =
        static_cast<int>(std::lround(width() * splitFraction(leftPanelFraction_, width())));
    const auto place = [this](QWidget* widget, const QRect& rect) {
        widget->setGeometry(QStyle::visualRect(layoutDirection(), this->rect(), rect));
    };
    place(sidebar_, {0, 0, split, upper});
    place(trackList_, {split + 1, 0, width() - split - 1, upper});
    place(divider_, {split - SplitDivider::hitWidth / 2, 0, SplitDivider::hitWidth, upper});
    place(playerBar_, {0, upper, width(), barHeight});
    // It ends above the bar, whose history button must stay within reach.
    history_->setRestingPlace(QStyle::visualRect(
        layoutDirection(), rect(),
        QRect(width() - HistoryPanel::panelWidth, 0, HistoryPanel::panelWidth, upper)));
}

void MainWindow::dragDivider(double x) {
    const double leading = layoutDirection() == Qt::RightToLeft ? width() - x : x;
    leftPanelFraction_ = splitFractionForDrag(leading, width());
    layOut();
}

void MainWindow::toggleHistory() {
    history_->setShown(!history_->isShown());
    playerBar_->setHistoryShown(history_->isShown());
}

void MainWindow::perform(WindowAction action) {
    AudioEngineManager& engine = state_.audioEngine();
    switch (action) {
        case WindowAction::toggleHistory:
            toggleHistory();
            break;
        case WindowAction::revealPlayingFile:
            if (const auto& track = *engine.currentTrack) {
                revealInFileManager(track->url());
            }
            break;
        case WindowAction::toggleFavorite:
            if (const auto track = *engine.currentTrack) {
                state_.toggleFavorite(*track);
            }
            break;
        case WindowAction::playPrevious:
            state_.playPrevious();
            break;
        case WindowAction::toggleMute:
            engine.toggleMute();
            break;
        case WindowAction::playNext:
            state_.playNext();
            break;
        case WindowAction::togglePlayPause:
            engine.togglePlayPause();
            break;
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

void MainWindow::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), HalvenorTheme::windowBackdrop());
}

void MainWindow::resizeEvent(QResizeEvent*) {
    layOut();
}

void MainWindow::showEvent(QShowEvent*) {
    if (hasBeenShown_) {
        return;
    }
    hasBeenShown_ = true;
    sidebar_->tree().setFocus(Qt::OtherFocusReason);
    // Rendering the icon can wait until there is something to look at.
    QTimer::singleShot(200ms, this, [this] { setWindowIcon(makeApplicationIcon()); });
}

void MainWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange && !isMinimized()) {
        playerBar_->refreshTime();
    }
}

}  // namespace halvenor
