#include "ui/tracklist/TrackListView.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <QToolTip>

#include <algorithm>
#include <utility>

#include "state/AppState.h"
#include "ui/controls/ElidedText.h"
#include "ui/controls/FocusRing.h"
#include "ui/controls/PlayingSign.h"
#include "ui/symbols/Symbols.h"
#include "ui/theme/HalvenorTheme.h"
#include "ui/tracklist/AlbumSummary.h"
#include "ui/tracklist/TrackMenu.h"

namespace halvenor {

using namespace std::chrono_literals;

namespace {

constexpr auto repaintInterval = 33ms;

QColor surface() {
    return HalvenorTheme::pane(HalvenorTheme::windowTracklistSurface());
}

}  // namespace

TrackListView::TrackListView(AppState& state, QWidget* parent)
    : PaddedListView(TrackRowParts::rowHeight, 0, TrackRowParts::padding, &surface, parent),
      state_(state),
      model_(new TrackListModel(this)) {
    setAccessibleName(QStringLiteral("Tracks"));
    model_->isFavorite = [this](const Track& track) { return state_.isFavorite(track); };
    setModel(model_);
    repaintTimer_.setSingleShot(true);
    repaintTimer_.setInterval(repaintInterval);
    connect(&repaintTimer_, &QTimer::timeout, this, [this] { viewport()->update(); });
    const auto look = [this](const auto&) { viewport()->update(); };
    subscriptions_.push_back(state_.selectedTrackIDs.subscribe(look));
    subscriptions_.push_back(state_.audioEngine().currentTrack.subscribe(look));
    subscriptions_.push_back(state_.audioEngine().isPlaying.subscribe(look));
    subscriptions_.push_back(
        state_.favoriteTrackPaths.subscribe([this](const auto&) { updateHearts(); }));
}

bool TrackListView::showTracks(const TrackList& tracks, const QByteArray& source) {
    using Change = TrackListModel::Change;
    Change change = Change::list;
    if (source == source_) {
        change = model_->setTracks(tracks);
    } else {
        source_ = source;
        model_->resetTracks(tracks);
    }
    if (change == Change::records) {
        if (!repaintTimer_.isActive()) {
            repaintTimer_.start();
        }
        return false;
    }
    paintedHearts_.clear();
    if (change == Change::list) {
        verticalScrollBar()->setValue(0);
    }
    viewport()->update();
    return change == Change::list;
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

TrackRowParts TrackListView::partsOf(int row) const {
    return {visualRect(model_->index(row)), layoutDirection()};
}

bool TrackListView::isOnHeart(int row, const QPoint& place) const {
    return row >= 0 && partsOf(row).heart.contains(place);
}

void TrackListView::updateHeart(int row) {
    if (row >= 0 && row < model_->rowCount()) {
        viewport()->update(partsOf(row).heart.toAlignedRect());
    }
}

bool TrackListView::viewportEvent(QEvent* event) {
    if (event->type() == QEvent::ToolTip && hotHeart_ >= 0) {
        const auto& help = static_cast<const QHelpEvent&>(*event);
        QToolTip::showText(help.globalPos(),
                           favoriteActionLabel(state_.isFavorite(model_->tracks()[hotHeart_])),
                           viewport(), partsOf(hotHeart_).heart.toAlignedRect());
        return true;
    }
    return PaddedListView::viewportEvent(event);
}

// What the favourites were is gone; what is on the screen is known. Rows that don't show cost
// nothing.
void TrackListView::updateHearts() {
    if (model_->rowCount() == 0 || isHidden()) {
        return;
    }
    const int first = std::max(0, indexAt(QPoint(0, 0)).row());
    QHash<int, bool> stillShown;
    for (int row = first; row < model_->rowCount(); ++row) {
        if (partsOf(row).plate.top() >= viewport()->height()) {
            break;
        }
        const auto painted = paintedHearts_.constFind(row);
        if (painted != paintedHearts_.constEnd()) {
            stillShown.insert(row, *painted);
            if (*painted != state_.isFavorite(model_->tracks()[row])) {
                updateHeart(row);
            }
        }
    }
    paintedHearts_ = stillShown;
}

void TrackListView::pointerMoved(int row, const QPoint& place) {
    const int hot = isOnHeart(row, place) ? row : -1;
    if (hot != hotHeart_) {
        updateHeart(std::exchange(hotHeart_, hot));
        updateHeart(hotHeart_);
    }
}

void TrackListView::rowPressed(int row, const QPoint& place, Qt::KeyboardModifiers modifiers) {
    pressHeart(isOnHeart(row, place) ? row : -1);
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

void TrackListView::pressHeart(int row) {
    updateHeart(std::exchange(pressedHeart_, row));
    updateHeart(pressedHeart_);
}

void TrackListView::rowClicked(int row, const QPoint& place, Qt::KeyboardModifiers) {
    if (row == pressedHeart_ && isOnHeart(row, place)) {
        const Track track = model_->tracks()[row];
        state_.toggleFavorite(track);
    }
}

void TrackListView::mouseReleaseEvent(QMouseEvent* event) {
    PaddedListView::mouseReleaseEvent(event);
    pressHeart(-1);
}

void TrackListView::rowDoubleClicked(int row, const QPoint& place, Qt::KeyboardModifiers) {
    if (isOnHeart(row, place)) {
        pressHeart(row);  // Two quick clicks on the heart are two clicks.
        return;
    }
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
    const int page = std::max(1, viewport()->height() / TrackRowParts::rowHeight - 1);
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
        case Qt::Key_Delete:
            if (state_.openPlaylist->has_value()) {
                removeFromOpenPlaylist(state_, selectedTracks());
            }
            break;
        default:
            event->ignore();
    }
}

// In the order of the list.
QList<Track> TrackListView::selectedTracks() const {
    QList<Track> chosen;
    for (const Track& track : model_->tracks()) {
        if (isSelected(track)) {
            chosen.append(track);
        }
    }
    return chosen;
}

void TrackListView::contextMenuEvent(QContextMenuEvent* event) {
    const bool isByKey = event->reason() == QContextMenuEvent::Keyboard;
    const int row = isByKey ? cursorRow() : indexAt(event->pos()).row();
    if (row < 0) {
        return;
    }
    const Track clicked = model_->tracks()[row];
    if (!isSelected(clicked)) {
        selectOnly(row);  // It shows what the menu is about.
    }
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    fillTrackMenu(*menu, state_, clicked, selectedTracks(), onShowTagInfo);
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
    paintHeart(painter, parts.heart, row);
}

void TrackListView::paintHeart(QPainter& painter, const QRectF& place, int row) const {
    const bool isFavorite = state_.isFavorite(model_->tracks()[row]);
    paintedHearts_.insert(row, isFavorite);
    QColor ink = isFavorite ? HalvenorTheme::accent() : HalvenorTheme::inactiveText();
    if (hotHeart_ == row) {
        ink = isFavorite ? ink.lighter(115) : HalvenorTheme::hoverTint();
    }
    painter.setOpacity(pressedHeart_ == row ? 0.6 : 1);
    Symbols::draw(painter, isFavorite ? QStringLiteral("heart.fill") : QStringLiteral("heart"), 11,
                  place.center(), ink);
    painter.setOpacity(1);
}

}  // namespace halvenor
