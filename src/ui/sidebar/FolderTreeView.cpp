#include "ui/sidebar/FolderTreeView.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>

#include <algorithm>
#include <chrono>

#include "state/AppState.h"
#include "ui/controls/ElidedText.h"
#include "ui/controls/FocusRing.h"
#include "ui/controls/Spinner.h"
#include "ui/sidebar/FolderRowParts.h"
#include "ui/sidebar/OpenFolderShape.h"
#include "ui/symbols/Symbols.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

using namespace std::chrono_literals;

namespace {

// Drawn by hand: a symbol that is turned after it was rendered is no longer crisp.
void paintChevron(QPainter& painter, const QPointF& centre, bool isExpanded,
                  Qt::LayoutDirection direction, const QColor& colour) {
    painter.save();
    painter.translate(centre);
    painter.rotate(isExpanded ? 90 : (direction == Qt::RightToLeft ? 180 : 0));
    painter.setPen(QPen(colour, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPointF points[] = {{-1.75, -3.5}, {1.75, 0}, {-1.75, 3.5}};
    painter.drawPolyline(points, 3);
    painter.restore();
}

QColor surface() {
    return HalvenorTheme::pane(HalvenorTheme::windowSidebarSurface());
}

}  // namespace

FolderTreeView::FolderTreeView(AppState& state, QWidget* parent)
    : PaddedListView(FolderRowParts::rowHeight, 4, 16, &surface, parent),
      state_(state),
      model_(new FolderTreeModel(this)),
      additions_(state) {
    setAccessibleName(QStringLiteral("Folders"));
    model_->describe = [this](const FolderRow& row) { return describe(row); };
    setModel(model_);
    searchDelay_.setSingleShot(true);
    searchDelay_.setInterval(400ms);
    connect(&searchDelay_, &QTimer::timeout, this, [this] { viewport()->update(); });
    spinning_.setInterval(spinnerInterval);
    connect(&spinning_, &QTimer::timeout, this, [this] { viewport()->update(); });
    subscribe();
    rebuild();
}

void FolderTreeView::subscribe() {
    const auto rows = [this](const auto&) { scheduleRebuild(); };
    const auto look = [this](const auto&) { viewport()->update(); };
    subscriptions_.push_back(state_.rootFolders.subscribe(rows));
    subscriptions_.push_back(state_.folderChildren.subscribe(rows));
    subscriptions_.push_back(state_.expandedFolderIDs.subscribe(rows));
    subscriptions_.push_back(state_.loadedFolderIDs.subscribe(rows));
    subscriptions_.push_back(state_.markedFolderIDs.subscribe(rows));
    subscriptions_.push_back(state_.showMarkedFoldersOnly.subscribe(rows));
    subscriptions_.push_back(state_.searchQuery.subscribe(rows));
    subscriptions_.push_back(
        state_.searchQuery.subscribe([this](const auto&) { searchDelay_.start(); }));
    subscriptions_.push_back(state_.folderSearchResults.subscribe(rows));
    subscriptions_.push_back(state_.loadingFolderIDs.subscribe(look));
    subscriptions_.push_back(state_.availableLocationPaths.subscribe(look));
    subscriptions_.push_back(state_.selectedFolder.subscribe(look));
    subscriptions_.push_back(state_.isFolderSearchInProgress.subscribe(look));
    subscriptions_.push_back(state_.folderScrollRequest.subscribe([this](const auto& request) {
        if (request) {
            // The rows on the way to it are made in this turn.
            QTimer::singleShot(40ms, this, [this] { scrollToRequest(); });
        }
    }));
}

void FolderTreeView::scheduleRebuild() {
    if (!isRebuildScheduled_) {
        isRebuildScheduled_ = true;
        QMetaObject::invokeMethod(
            this, [this] { rebuild(); }, Qt::QueuedConnection);
    }
}

FolderFilter FolderTreeView::filter() const {
    return {*state_.showMarkedFoldersOnly, *state_.markedFolderIDs};
}

FolderTreeSource FolderTreeView::source(const FolderFilter& filter) const {
    return {*state_.rootFolders,
            *state_.folderChildren,
            *state_.expandedFolderIDs,
            filter,
            !state_.searchQuery->isEmpty(),
            *state_.folderSearchResults};
}

void FolderTreeView::rebuild() {
    isRebuildScheduled_ = false;
    const FolderFilter shown = filter();
    model_->setRows(visibleFolderRows(source(shown)));
    for (const FolderRow& row : model_->rows()) {
        if (row.allowsExpansion && state_.isFolderExpanded(row.folder)) {
            state_.ensureFolderChildrenLoaded(row.folder);
        }
    }
    viewport()->update();
}

void FolderTreeView::scrollToRequest() {
    if (const auto& request = *state_.folderScrollRequest) {
        if (isRebuildScheduled_) {
            rebuild();
        }
        scrollToRow(rowOfFolder(model_->rows(), request->folderID()), 180ms, Anchor::centre);
    }
}

int FolderTreeView::selectedRow() const {
    const auto& selected = *state_.selectedFolder;
    return selected ? rowOfFolder(model_->rows(), selected->id()) : -1;
}

bool FolderTreeView::hasChildren(const FolderRow& row) const {
    if (!row.allowsExpansion) {
        return false;
    }
    if (!state_.isFolderLoaded(row.folder)) {
        return true;
    }
    const FolderFilter shown = filter();
    const FolderTreeSource from = source(shown);
    return std::ranges::any_of(from.childrenOf(row.folder),
                               [&](const FolderItem& child) { return shown.shows(child); });
}

QString FolderTreeView::describe(const FolderRow& row) const {
    QStringList words{row.folder.displayName()};
    if (hasChildren(row)) {
        words << (state_.isFolderExpanded(row.folder) ? QStringLiteral("expanded")
                                                      : QStringLiteral("collapsed"));
    }
    if (state_.isFolderMarked(row.folder)) {
        words << QStringLiteral("marked");
    }
    if (isAway(row)) {
        words << QStringLiteral("unavailable");
    }
    return words.join(QStringLiteral(", "));
}

// A Location that was not there when last looked at.
bool FolderTreeView::isAway(const FolderRow& row) const {
    return row.depth == 0 && state_.isRootFolder(row.folder) &&
           !state_.availableLocationPaths->contains(row.folder.id());
}

void FolderTreeView::keyPressEvent(QKeyEvent* event) {
    if (isRebuildScheduled_) {
        rebuild();  // A key that follows fast must see what the one before it did.
    }
    const FolderFilter shown = filter();
    const FolderTreeSource from = source(shown);
    switch (event->key()) {
        case Qt::Key_Up:
            moveSelection(-1);
            break;
        case Qt::Key_Down:
            moveSelection(1);
            break;
        case Qt::Key_Left:
            take(stepLeft(from, model_->rows(), *state_.selectedFolder));
            break;
        case Qt::Key_Right:
            take(stepRight(from, *state_.selectedFolder));
            break;
        default:
            event->ignore();
    }
}

void FolderTreeView::moveSelection(int by) {
    const int row = rowAfterMove(model_->rowCount(), selectedRow(), by);
    if (row >= 0) {
        openAndShow(FolderItem(model_->row(row).folder));
    }
}

void FolderTreeView::take(const FolderTreeStep& step) {
    switch (step.kind) {
        case FolderTreeStep::Kind::none:
            break;
        case FolderTreeStep::Kind::open:
            openAndShow(step.folder);
            break;
        case FolderTreeStep::Kind::expand:
            state_.toggleFolderExpanded(step.folder);
            state_.ensureFolderChildrenLoaded(step.folder);
            showFolder(step.folder.id());
            break;
        case FolderTreeStep::Kind::collapse:
            state_.toggleFolderExpanded(step.folder);
            showFolder(step.folder.id());
            break;
    }
}

void FolderTreeView::openAndShow(const FolderItem& folder) {
    state_.openFolder(folder);
    showFolder(folder.id());
}

void FolderTreeView::showFolder(const QByteArray& id) {
    if (isRebuildScheduled_) {
        rebuild();
    }
    const int row = rowOfFolder(model_->rows(), id);
    if (row >= 0) {
        scrollToRow(row, 120ms);
        selectionModel()->setCurrentIndex(model_->index(row), QItemSelectionModel::NoUpdate);
    }
}

void FolderTreeView::rowClicked(int row, const QPoint& place, Qt::KeyboardModifiers) {
    const FolderRow clicked = model_->row(row);
    const FolderRowParts parts(visualRect(model_->index(row)), clicked.depth, layoutDirection());
    if (parts.icon.contains(place)) {
        state_.toggleFolderMarked(clicked.folder);
        return;
    }
    if (parts.refresh.contains(place)) {
        state_.refreshFolder(clicked.folder);
        return;
    }
    if (clickToggles(hasChildren(clicked), clicked.allowsExpansion,
                     state_.isFolderExpanded(clicked.folder))) {
        state_.toggleFolderExpanded(clicked.folder);
    }
    state_.openFolder(clicked.folder);
    if (clicked.allowsExpansion && state_.isFolderExpanded(clicked.folder)) {
        state_.ensureFolderChildrenLoaded(clicked.folder);
    }
}

// The second click of two is a click like any other; its release does what clicks do.
void FolderTreeView::rowDoubleClicked(int, const QPoint&, Qt::KeyboardModifiers) {}

void FolderTreeView::pointerMoved(int row, const QPoint& place) {
    HotPart part = HotPart::none;
    if (row >= 0) {
        const FolderRowParts parts(visualRect(model_->index(row)), model_->row(row).depth,
                                   layoutDirection());
        if (parts.icon.contains(place)) {
            part = HotPart::icon;
        } else if (parts.refresh.contains(place)) {
            part = HotPart::refresh;
        }
    }
    if (part != hotPart_) {
        hotPart_ = part;
        updateRow(hoveredRow());
    }
}

void FolderTreeView::contextMenuEvent(QContextMenuEvent* event) {
    const bool isByKey = event->reason() == QContextMenuEvent::Keyboard;
    const int row = isByKey ? selectedRow() : indexAt(event->pos()).row();
    if (row < 0) {
        return;
    }
    const QPoint place = isByKey ? viewport()->mapToGlobal(visualRect(model_->index(row)).center())
                                 : event->globalPos();
    showMenu(model_->row(row), place);
}

void FolderTreeView::showMenu(const FolderRow& row, const QPoint& globalPlace) {
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    fillFolderMenu(*menu, state_, row.folder, additions_);
    menu->popup(globalPlace);
}

void FolderTreeView::paintEvent(QPaintEvent* event) {
    hasPaintedSpinner_ = false;
    PaddedListView::paintEvent(event);
    if (model_->rowCount() == 0 && !state_.searchQuery->isEmpty() &&
        !*state_.isFolderSearchInProgress && !searchDelay_.isActive()) {
        QPainter painter(viewport());
        drawElided(painter, QRectF(0, 24, viewport()->width(), 24), HalvenorTheme::font(12),
                   HalvenorTheme::inactiveText(), QStringLiteral("No folders found"),
                   Qt::AlignHCenter);
    }
    if (!hasPaintedSpinner_) {
        spinning_.stop();
    } else if (!spinning_.isActive()) {
        spinning_.start();
    }
}

void FolderTreeView::paintRow(QPainter& painter, const QRect& rect, int row) const {
    const FolderRow& shown = model_->row(row);
    const FolderItem& folder = shown.folder;
    const FolderRowParts parts(rect, shown.depth, layoutDirection());
    const bool isOpen = *state_.selectedFolder && (*state_.selectedFolder)->id() == folder.id();
    const bool isHovered = hoveredRow() == row;

    painter.setRenderHint(QPainter::Antialiasing);
    if (isOpen || isHovered) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(isOpen ? HalvenorTheme::selectionBackground() : HalvenorTheme::rowHover());
        painter.drawRoundedRect(parts.plate, 6, 6);
    }
    if (isOpen && hasKeyboardFocus(*this)) {
        paintRing(painter, QRectF(parts.plate), 6);
    }
    QColor ink = isOpen ? HalvenorTheme::highlightText() : HalvenorTheme::mainText();
    if (isAway(shown)) {
        ink.setAlphaF(ink.alphaF() * 0.5F);
    }
    if (hasChildren(shown)) {
        QColor faint = ink;
        faint.setAlphaF(ink.alphaF() * (isHovered || isOpen ? 0.9F : 0.6F));
        paintChevron(painter, QRectF(parts.chevron).center(), state_.isFolderExpanded(folder),
                     layoutDirection(), faint);
    }
    paintIcon(painter, parts.icon, folder, isHovered && hotPart_ == HotPart::icon);
    const bool isLoading = state_.isFolderLoading(folder);
    QRectF nameArea(parts.name);
    if (!isHovered && !isLoading) {
        nameArea = nameArea.united(QRectF(parts.refresh));
        nameArea.adjust(0, 0, layoutDirection() == Qt::RightToLeft ? 0 : -6, 0);
    }
    drawElided(painter, nameArea, HalvenorTheme::font(12, isOpen ? QFont::Medium : QFont::Normal),
               ink, folder.displayName(), Qt::AlignLeft);
    if (isLoading) {
        hasPaintedSpinner_ = true;
        paintSpinner(painter, QRectF(parts.refresh).center(), 13, spinnerTurn(), ink);
    } else if (isHovered) {
        Symbols::draw(painter, QStringLiteral("arrow.clockwise"), 11,
                      QRectF(parts.refresh).center(),
                      hotPart_ == HotPart::refresh ? HalvenorTheme::hoverTint()
                                                   : HalvenorTheme::neutralTint());
    }
}

void FolderTreeView::paintIcon(QPainter& painter, const QRect& rect, const FolderItem& folder,
                               bool isHot) const {
    const bool isOpen = *state_.selectedFolder && (*state_.selectedFolder)->id() == folder.id();
    const bool isMarked = state_.isFolderMarked(folder);
    const QColor tint = HalvenorTheme::folderTint();
    const QRectF area(rect);
    if (isHot) {
        QColor plate = HalvenorTheme::hoverTint();
        plate.setAlphaF(0.08F);
        painter.setPen(Qt::NoPen);
        painter.setBrush(plate);
        painter.drawRoundedRect(area, 5, 5);
    }
    if (!isOpen) {
        Symbols::draw(painter, isMarked ? QStringLiteral("folder.fill") : QStringLiteral("folder"),
                      15, area.center(), tint);
        return;
    }
    const QPainterPath shape =
        openFolderShape(QRectF(area.center().x() - 9, area.center().y() - 7, 18, 14));
    painter.setBrush(isMarked ? QBrush(tint) : QBrush(Qt::NoBrush));
    painter.setPen(QPen(tint, 1.35, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(shape);
}

}  // namespace halvenor
