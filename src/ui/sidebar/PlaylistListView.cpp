#include "ui/sidebar/PlaylistListView.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QStyle>

#include "state/AppState.h"
#include "ui/controls/ElidedText.h"
#include "ui/controls/FocusRing.h"
#include "ui/sidebar/FolderRowParts.h"
#include "ui/sidebar/FolderTreeRows.h"
#include "ui/sidebar/PlaylistActions.h"
#include "ui/symbols/Symbols.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

using namespace std::chrono_literals;

namespace {

constexpr int plateInset = 8;
constexpr int iconLeft = 14;
constexpr int iconWidth = 28;
constexpr int nameLeft = iconLeft + iconWidth + 4;
constexpr int nameInset = 16;

QColor surface() {
    return HalvenorTheme::pane(HalvenorTheme::windowSidebarSurface());
}

}  // namespace

PlaylistListView::PlaylistListView(AppState& state, PlaylistActions& actions, QWidget* parent)
    : PaddedListView(FolderRowParts::rowHeight, 4, 16, &surface, parent),
      state_(state),
      actions_(actions),
      model_(new PlaylistListModel(this)) {
    setAccessibleName(QStringLiteral("Playlists"));
    setModel(model_);
    subscriptions_.push_back(
        state_.playlistManager().playlists.subscribe([this](const auto&) { showPlaylists(); }));
    subscriptions_.push_back(
        state_.openPlaylist.subscribe([this](const auto&) { viewport()->update(); }));
    showPlaylists();
}

void PlaylistListView::showPlaylists() {
    model_->setPlaylists(*state_.playlistManager().playlists);
    viewport()->update();
}

bool PlaylistListView::isOpen(const Playlist& playlist) const {
    const auto& open = *state_.openPlaylist;
    return open && open->id == playlist.id;
}

int PlaylistListView::cursorRow() const {
    if (currentIndex().isValid()) {
        return currentIndex().row();
    }
    const auto& open = *state_.openPlaylist;
    return open ? model_->rowOf(open->id) : -1;
}

void PlaylistListView::setCursorRow(int row) {
    selectionModel()->setCurrentIndex(model_->index(row), QItemSelectionModel::NoUpdate);
    viewport()->update();
}

void PlaylistListView::showRow(const QUuid& id) {
    const int row = model_->rowOf(id);
    if (row >= 0) {
        setCursorRow(row);
        scrollToRow(row, 120ms);
    }
}

void PlaylistListView::moveCursor(int by) {
    const int row = rowAfterMove(model_->rowCount(), cursorRow(), by);
    if (row >= 0) {
        setCursorRow(row);
        scrollToRow(row, 120ms);
    }
}

// Opening it again reads its files again; not while they are being read, as by a double click.
void PlaylistListView::open(int row) {
    const Playlist playlist = model_->playlist(row);
    if (!isOpen(playlist) || !*state_.isScanning) {
        state_.showPlaylist(playlist);
    }
}

void PlaylistListView::keyPressEvent(QKeyEvent* event) {
    const int row = cursorRow();
    switch (event->key()) {
        case Qt::Key_Up:
            moveCursor(-1);
            break;
        case Qt::Key_Down:
            moveCursor(1);
            break;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (row >= 0) {
                open(row);
            }
            break;
        case Qt::Key_F2:
            if (row >= 0) {
                actions_.rename(model_->playlist(row));
            }
            break;
        default:
            event->ignore();
    }
}

void PlaylistListView::rowClicked(int row, const QPoint&, Qt::KeyboardModifiers) {
    setCursorRow(row);
    open(row);
}

void PlaylistListView::contextMenuEvent(QContextMenuEvent* event) {
    if (event->reason() != QContextMenuEvent::Keyboard) {
        showMenu(indexAt(event->pos()).row(), event->globalPos());
        return;
    }
    const int row = cursorRow();
    const QPoint place =
        row >= 0 ? visualRect(model_->index(row)).center() : viewport()->rect().center();
    showMenu(row, viewport()->mapToGlobal(place));
}

void PlaylistListView::showMenu(int row, const QPoint& globalPlace) {
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (row < 0) {
        menu->addAction(QStringLiteral("Add New Playlist"), this, [this] { actions_.create(); });
        menu->addAction(QStringLiteral("Import M3U…"), this, [this] { actions_.importM3u(); });
        menu->popup(globalPlace);
        return;
    }
    const Playlist playlist = model_->playlist(row);
    menu->addAction(QStringLiteral("Rename…"), this,
                    [this, playlist] { actions_.rename(playlist); });
    menu->addSeparator();
    menu->addAction(QStringLiteral("Import M3U…"), this, [this] { actions_.importM3u(); });
    menu->addAction(QStringLiteral("Export M3U…"), this,
                    [this, playlist] { actions_.exportM3u(playlist); });
    if (!PlaylistActions::isFavorites(playlist)) {
        menu->addSeparator();
        menu->addAction(QStringLiteral("Delete"), this,
                        [this, playlist] { actions_.remove(playlist); });
    }
    menu->popup(globalPlace);
}

void PlaylistListView::paintEvent(QPaintEvent* event) {
    PaddedListView::paintEvent(event);
    if (model_->rowCount() == 0) {
        QPainter painter(viewport());
        drawElided(painter, QRectF(0, 24, viewport()->width(), 24), HalvenorTheme::font(12),
                   HalvenorTheme::inactiveText(), QStringLiteral("No playlists yet"),
                   Qt::AlignHCenter);
    }
}

void PlaylistListView::paintRow(QPainter& painter, const QRect& rect, int row) const {
    const Playlist& playlist = model_->playlist(row);
    const bool isShown = isOpen(playlist);
    const auto place = [&](int left, int width) {
        return QRectF(QStyle::visualRect(layoutDirection(), rect,
                                         QRect(left, rect.top(), width, rect.height())));
    };
    const QRectF plate = QRectF(rect).adjusted(plateInset, 1, -plateInset, -1);
    painter.setRenderHint(QPainter::Antialiasing);
    if (isShown || hoveredRow() == row) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(isShown ? HalvenorTheme::selectionBackground()
                                 : HalvenorTheme::rowHover());
        painter.drawRoundedRect(plate, 6, 6);
    }
    if (cursorRow() == row && hasKeyboardFocus(*this)) {
        paintRing(painter, plate, 6);
    }
    Symbols::draw(painter,
                  PlaylistActions::isFavorites(playlist) ? QStringLiteral("heart.fill")
                                                         : QStringLiteral("rectangle.grid.1x2"),
                  12.5, place(iconLeft, iconWidth).center(), HalvenorTheme::folderTint());
    drawElided(painter, place(nameLeft, rect.width() - nameLeft - nameInset),
               HalvenorTheme::font(12, isShown ? QFont::Medium : QFont::Normal),
               isShown ? HalvenorTheme::highlightText() : HalvenorTheme::mainText(), playlist.name);
}

}  // namespace halvenor
