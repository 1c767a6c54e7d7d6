#include "ui/playerbar/HistoryList.h"

#include <QKeyEvent>
#include <QPainter>
#include <QStyle>

#include <algorithm>

#include "state/AppState.h"
#include "ui/controls/CoverCache.h"
#include "ui/controls/CoverPainting.h"
#include "ui/controls/ElidedText.h"
#include "ui/controls/FocusRing.h"
#include "ui/theme/HalvenorTheme.h"
#include "ui/tracklist/TrackListModel.h"

namespace halvenor {

using namespace std::chrono_literals;

namespace {

constexpr int rowHeight = 62;
constexpr int artworkSide = 50;
constexpr int durationWidth = 44;

}  // namespace

HistoryList::HistoryList(AppState& state, QWidget* parent)
    : PaddedListView(rowHeight, 0, 12, &surface, parent),
      state_(state),
      model_(new TrackListModel(this)) {
    setAccessibleName(QStringLiteral("History"));
    setModel(model_);
    coverReady_ = CoverCache::shared().changed.subscribe([this](bool) { viewport()->update(); });
}

QColor HistoryList::surface() {
    return HalvenorTheme::blend(
        HalvenorTheme::isLight() ? QColor(255, 255, 255, 140) : QColor(255, 255, 255, 8),
        HalvenorTheme::windowBackdrop());
}

void HistoryList::showTracks(const TrackList& tracks) {
    model_->setTracks(tracks);
    viewport()->update();
}

void HistoryList::play(int row) {
    const Track track = model_->tracks()[row];
    state_.play(track);
}

void HistoryList::rowClicked(int row, const QPoint&, Qt::KeyboardModifiers) {
    play(row);
}

void HistoryList::keyPressEvent(QKeyEvent* event) {
    const int count = model_->rowCount();
    const int row = currentIndex().row();
    const bool isMove = event->key() == Qt::Key_Up || event->key() == Qt::Key_Down;
    if (isMove && count > 0) {
        const int by = event->key() == Qt::Key_Up ? -1 : 1;
        const int target = row < 0 ? 0 : std::clamp(row + by, 0, count - 1);
        selectionModel()->setCurrentIndex(model_->index(target), QItemSelectionModel::NoUpdate);
        scrollToRow(target, 120ms);
        viewport()->update();
    } else if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && row >= 0) {
        play(row);
    } else {
        event->ignore();
    }
}

void HistoryList::paintRow(QPainter& painter, const QRect& rect, int row) const {
    const Track& track = model_->tracks()[row];
    const QRect inner = rect.adjusted(14, 0, -10, 0);
    const auto place = [&](int left, int top, int width, int height) {
        return QStyle::visualRect(layoutDirection(), rect,
                                  QRect(left, rect.top() + top, width, height));
    };
    painter.setRenderHint(QPainter::Antialiasing);
    if (hoveredRow() == row) {
        painter.setPen(Qt::NoPen);
        QColor plate = HalvenorTheme::hoverTint();
        plate.setAlphaF(0.06F);
        painter.setBrush(plate);
        painter.drawRoundedRect(inner.adjusted(0, 1, 0, -1), 8, 8);
    }
    if (currentIndex().row() == row && hasKeyboardFocus(*this)) {
        paintRing(painter, QRectF(inner), 8);
    }
    const int left = inner.left() + 6;
    paintCover(painter, place(left, (rowHeight - artworkSide) / 2, artworkSide, artworkSide),
               track.artworkData(), 5, 17);
    const int textLeft = left + artworkSide + 12;
    const int end = inner.right() + 1 - 8;
    const int textWidth = end - durationWidth - 8 - textLeft;
    drawElided(painter, QRectF(place(textLeft, 13, textWidth, 18)),
               HalvenorTheme::font(12, QFont::Medium), HalvenorTheme::titleText(), track.title());
    drawElided(painter, QRectF(place(textLeft, 31, textWidth, 18)), HalvenorTheme::font(12),
               HalvenorTheme::secondaryText(), track.artist());
    drawElided(painter, QRectF(place(end - durationWidth, 0, durationWidth, rowHeight)),
               HalvenorTheme::font(11), HalvenorTheme::secondaryText(), track.formattedDuration(),
               Qt::AlignRight);
}

}  // namespace halvenor
