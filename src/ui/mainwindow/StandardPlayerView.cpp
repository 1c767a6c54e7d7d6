#include "ui/mainwindow/StandardPlayerView.h"

#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <QWindow>

#include <cmath>

#include "state/AppState.h"
#include "ui/mainwindow/SplitDivider.h"
#include "ui/mainwindow/SplitRule.h"
#include "ui/playerbar/HistoryPanel.h"
#include "ui/playerbar/PlayerBarView.h"
#include "ui/sidebar/SidebarView.h"
#include "ui/theme/HalvenorTheme.h"
#include "ui/tracklist/TrackListPane.h"

namespace halvenor {

namespace {
constexpr int dragStripHeight = 18;
}  // namespace

StandardPlayerView::StandardPlayerView(AppState& state, QWidget* parent)
    : QWidget(parent),
      sidebar_(new SidebarView(state, this)),
      trackList_(new TrackListPane(state, this)),
      divider_(new SplitDivider(this)),
      playerBar_(new PlayerBarView(state, this)),
      history_(new HistoryPanel(state, this)) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    divider_->setObjectName(QStringLiteral("divider"));
    divider_->onDragged = [this](double x) { dragDivider(x); };
    historyShown_ = state.isPlaybackQueuePresented.subscribe(
        [this](bool isShown) { history_->setShown(isShown); });
    history_->setShown(*state.isPlaybackQueuePresented);
}

void StandardPlayerView::layOut() {
    constexpr auto barHeight = static_cast<int>(HalvenorTheme::playbarHeight);
    const int upper = height() - barHeight;
    const int split =
        static_cast<int>(std::lround(width() * splitFraction(leftPanelFraction_, width())));
    const auto place = [this](QWidget* widget, const QRect& where) {
        widget->setGeometry(QStyle::visualRect(layoutDirection(), rect(), where));
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

void StandardPlayerView::dragDivider(double x) {
    const double leading = layoutDirection() == Qt::RightToLeft ? width() - x : x;
    leftPanelFraction_ = splitFractionForDrag(leading, width());
    layOut();
}

void StandardPlayerView::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), HalvenorTheme::windowBackdrop());
}

void StandardPlayerView::resizeEvent(QResizeEvent*) {
    layOut();
}

// A press that no control has taken: the window can be moved by its upper edge.
void StandardPlayerView::mousePressEvent(QMouseEvent* event) {
    QWindow* const handle = window()->windowHandle();
    if (event->button() == Qt::LeftButton && event->position().y() < dragStripHeight &&
        handle != nullptr) {
        handle->startSystemMove();
    }
}

}  // namespace halvenor
