#include "ui/tracklist/TrackListView.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <QStyle>

#include <algorithm>

#include "platform/desktop/FileManager.h"
#include "state/AppState.h"
#include "ui/controls/ElidedText.h"
#include "ui/controls/FocusRing.h"
#include "ui/controls/PlayingSign.h"
#include "ui/theme/HalvenorTheme.h"
#include "ui/tracklist/AlbumSummary.h"

namespace halvenor {

using namespace std::chrono_literals;

namespace {

constexpr int padding = 25;
constexpr auto repaintInterval = 33ms;

// The columns of a row: number, title over artist, format, duration.
struct TrackRowParts {
    TrackRowParts(const QRect& row, Qt::LayoutDirection direction) {
        constexpr int inset = 8;
        constexpr int orderWidth = 25;
        constexpr int formatWidth = 92;
        constexpr int durationWidth = 48;
        constexpr int gap = 14;
        const QRect inner = row.adjusted(padding, 0, -padding, 0);
        const int end = inner.right() + 1 - inset - 4;
        const auto place = [&](int left, int width, int top, int height) {
            return QRectF(
                QStyle::visualRect(direction, row, QRect(left, row.top() + top, width, height)));
        };
        const int textLeft = inner.left() + inset + orderWidth + gap;
        const int formatLeft = end - durationWidth - gap - formatWidth;
        plate = QRectF(inner).adjusted(0, 1, 0, -1);
        order = place(inner.left() + inset, orderWidth, 0, row.height());
        title = place(textLeft, formatLeft - gap - textLeft, 4, 19);
        artist = place(textLeft, formatLeft - gap - textLeft, 22, 17);
        format = place(formatLeft, formatWidth, 0, row.height());
        duration = place(end - durationWidth, durationWidth, 0, row.height());
    }

    QRectF plate;
    QRectF order;
    QRectF title;
    QRectF artist;
    QRectF format;
    QRectF duration;
};

QColor surface() {
    return HalvenorTheme::pane(HalvenorTheme::windowTracklistSurface());
}

}  // namespace

TrackListView::TrackListView(AppState& state, QWidget* parent)
    : PaddedListView(rowHeight, 0, padding, &surface, parent),
      state_(state),
      model_(new TrackListModel(this)) {
    setAccessibleName(QStringLiteral("Tracks"));
    setModel(model_);
    repaintTimer_.setSingleShot(true);
    repaintTimer_.setInterval(repaintInterval);
    connect(&repaintTimer_, &QTimer::timeout, this, [this] { viewport()->update(); });
    const auto look = [this](const auto&) { viewport()->update(); };
    subscriptions_.push_back(state_.selectedTrackIDs.subscribe(look));
    subscriptions_.push_back(state_.audioEngine().currentTrack.subscribe(look));
    subscriptions_.push_back(state_.audioEngine().isPlaying.subscribe(look));
}

bool TrackListView::showTracks(const TrackList& tracks) {
    if (model_->setTracks(tracks)) {
        verticalScrollBar()->setValue(0);
        return true;
    }
    if (!repaintTimer_.isActive()) {
        repaintTimer_.start();
    }
    return false;
}

bool TrackListView::isSelected(const Track& track) const {
    return state_.selectedTrackIDs->contains(track.id());
}

bool TrackListView::isPlaying(const Track& track) const {
    const auto& current = *state_.audioEngine().currentTrack;
    return current && current->id() == track.id();
}

int TrackListView::cursorRow() const {
    return currentIndex().row();
}

void TrackListView::setCursorRow(int row) {
    selectionModel()->setCurrentIndex(model_->index(row), QItemSelectionModel::NoUpdate);
}

void TrackListView::selectOnly(int row) {
    setCursorRow(row);
    state_.selectedTrackIDs = QSet<QByteArray>{model_->tracks()[row].id()};
}

void TrackListView::rowPressed(int row, const QPoint&, Qt::KeyboardModifiers modifiers) {
    if ((modifiers & Qt::ControlModifier) == 0) {
        selectOnly(row);
        return;
    }
    setCursorRow(row);
    const QByteArray id = model_->tracks()[row].id();
    state_.selectedTrackIDs.mutate([&](QSet<QByteArray>& ids) {
        if (!ids.remove(id)) {
            ids.insert(id);
        }
    });
}

void TrackListView::rowDoubleClicked(int row, const QPoint&, Qt::KeyboardModifiers) {
    const Track track = model_->tracks()[row];
    state_.play(track);
}

void TrackListView::moveSelection(int by) {
    const int count = model_->rowCount();
    if (count == 0) {
        return;
    }
    const int from = cursorRow();
    const int start = by > 0 ? 0 : count - 1;
    const int row = from < 0 ? start : std::clamp(from + by, 0, count - 1);
    selectOnly(row);
    scrollToRow(row, 120ms);
}

void TrackListView::keyPressEvent(QKeyEvent* event) {
    const int page = std::max(1, viewport()->height() / rowHeight - 1);
    switch (event->key()) {
        case Qt::Key_Up:
            moveSelection(-1);
            break;
        case Qt::Key_Down:
            moveSelection(1);
            break;
        case Qt::Key_PageUp:
            moveSelection(-page);
            break;
        case Qt::Key_PageDown:
            moveSelection(page);
            break;
        case Qt::Key_Home:
            moveSelection(-model_->rowCount());
            break;
        case Qt::Key_End:
            moveSelection(model_->rowCount());
            break;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (cursorRow() >= 0) {
                const Track track = model_->tracks()[cursorRow()];
                state_.play(track);
            }
            break;
        default:
            event->ignore();
    }
}

void TrackListView::contextMenuEvent(QContextMenuEvent* event) {
    const bool isByKey = event->reason() == QContextMenuEvent::Keyboard;
    const int row = isByKey ? cursorRow() : indexAt(event->pos()).row();
    if (row < 0) {
        return;
    }
    const FileUrl url = model_->tracks()[row].url();
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(QStringLiteral("Show in Finder"), this, [url] { revealInFileManager(url); });
    menu->popup(isByKey ? viewport()->mapToGlobal(visualRect(model_->index(row)).center())
                        : event->globalPos());
}

void TrackListView::paintRow(QPainter& painter, const QRect& rect, int row) const {
    const Track& track = model_->tracks()[row];
    const TrackRowParts parts(rect, layoutDirection());
    const bool isChosen = isSelected(track);
    const bool isCurrent = isPlaying(track);
    painter.setRenderHint(QPainter::Antialiasing);
    if (isChosen || hoveredRow() == row) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(isChosen ? HalvenorTheme::selectionBackground()
                                  : HalvenorTheme::rowHover());
        painter.drawRoundedRect(parts.plate, 6, 6);
    }
    if (cursorRow() == row && hasKeyboardFocus(*this)) {
        paintRing(painter, parts.plate, 6);
    }
    if (isCurrent) {
        paintPlayingSign(painter, parts.order.center(), *state_.audioEngine().isPlaying);
    } else {
        drawElided(painter, parts.order, HalvenorTheme::font(11), HalvenorTheme::inactiveText(),
                   QString::number(row + 1), Qt::AlignHCenter);
    }
    const bool isLit = isCurrent || isChosen;
    const QColor titleInk = isCurrent ? HalvenorTheme::currentTrack()
                            : isLit   ? HalvenorTheme::highlightText()
                                      : HalvenorTheme::titleText();
    drawElided(painter, parts.title,
               HalvenorTheme::font(13, isCurrent ? QFont::Bold : QFont::Normal), titleInk,
               track.title());
    drawElided(painter, parts.artist, HalvenorTheme::font(11), HalvenorTheme::secondaryText(),
               track.artist());
    drawElided(painter, parts.format, HalvenorTheme::font(9.6), HalvenorTheme::inactiveText(),
               trackFormatDescription(track), Qt::AlignRight);
    drawElided(painter, parts.duration, HalvenorTheme::font(11), HalvenorTheme::secondaryText(),
               track.formattedDuration(), Qt::AlignRight);
}

}  // namespace halvenor
