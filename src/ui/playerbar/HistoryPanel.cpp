#include "ui/playerbar/HistoryPanel.h"

#include <QPainter>
#include <QStyle>

#include "state/AppState.h"
#include "ui/controls/ElidedText.h"
#include "ui/controls/Motion.h"
#include "ui/playerbar/HistoryList.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {
constexpr int slideTime = 140;  // milliseconds
constexpr int titleHeight = 50;
constexpr int edge = 20;
}  // namespace

HistoryPanel::HistoryPanel(AppState& state, QWidget* parent) : QWidget(parent), state_(state) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAccessibleName(QStringLiteral("History"));
    sliding_.setEasingCurve(QEasingCurve::OutCubic);
    connect(&sliding_, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        inside_ = value.toDouble();
        place();
    });
    connect(&sliding_, &QVariantAnimation::finished, this, [this] { setVisible(isShown_); });
    hide();
}

void HistoryPanel::setShown(bool isShown) {
    if (isShown == isShown_) {
        return;
    }
    isShown_ = isShown;
    sliding_.stop();
    sliding_.setDuration(Motion::duration(slideTime));
    sliding_.setStartValue(inside_);
    sliding_.setEndValue(isShown ? 1.0 : 0.0);
    if (isShown) {
        makeList();
        place();
        show();
    } else if (isAncestorOf(focusWidget())) {
        list_->clearFocus();
    }
    sliding_.start();
}

void HistoryPanel::makeList() {
    if (list_ != nullptr) {
        return;
    }
    list_ = new HistoryList(state_, this);
    subscription_ = state_.playbackHistory.subscribe([this](const auto&) { refresh(); });
    refresh();
    layOut();
}

void HistoryPanel::setRestingPlace(const QRect& place) {
    restingPlace_ = place;
    this->place();
}

void HistoryPanel::place() {
    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    const int away = static_cast<int>((1 - inside_) * restingPlace_.width());
    setGeometry(restingPlace_.translated(isMirrored ? -away : away, 0));
}

void HistoryPanel::refresh() {
    list_->showTracks(*state_.playbackHistory);
    list_->setVisible(!state_.playbackHistory->isEmpty());
    update();
}

void HistoryPanel::resizeEvent(QResizeEvent*) {
    if (list_ != nullptr) {
        layOut();
    }
}

void HistoryPanel::layOut() {
    list_->setGeometry(QStyle::visualRect(
        layoutDirection(), rect(), QRect(1, titleHeight, width() - 1, height() - titleHeight)));
}

void HistoryPanel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), HistoryList::surface());
    painter.fillRect(QStyle::visualRect(layoutDirection(), rect(), QRect(0, 0, 1, height())),
                     HalvenorTheme::hairline());
    drawElided(painter, QRectF(edge, 0, width() - 2 * edge, titleHeight),
               HalvenorTheme::font(14, QFont::Bold), HalvenorTheme::highlightText(),
               QStringLiteral("History"));
    if (state_.playbackHistory->isEmpty()) {
        drawElided(painter, QRectF(edge, titleHeight, width() - 2 * edge, 24),
                   HalvenorTheme::font(12), HalvenorTheme::inactiveText(),
                   QStringLiteral("No playback history"));
    }
}

}  // namespace halvenor
