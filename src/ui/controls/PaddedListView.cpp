#include "ui/controls/PaddedListView.h"

#include <QAbstractItemDelegate>
#include <QCursor>
#include <QMouseEvent>
#include <QScrollBar>

#include <algorithm>
#include <utility>

#include "ui/controls/Motion.h"

namespace halvenor {

namespace {

class RowDelegate : public QAbstractItemDelegate {
  public:
    RowDelegate(PaddedListView* view, int rowHeight)
        : QAbstractItemDelegate(view), view_(view), rowHeight_(rowHeight) {}

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        view_->paintRow(*painter, option.rect, index.row());
    }
    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const override {
        return {100, rowHeight_};
    }

  private:
    PaddedListView* view_;
    int rowHeight_;
};

}  // namespace

PaddedListView::PaddedListView(int rowHeight, int top, int bottom, std::function<QColor()> surface,
                               QWidget* parent)
    : QListView(parent), surface_(std::move(surface)), top_(top), bottom_(bottom) {
    applySurface();
    setFrameShape(QFrame::NoFrame);
    setUniformItemSizes(true);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setItemDelegate(new RowDelegate(this, rowHeight));
    setSelectionMode(NoSelection);
    setEditTriggers(NoEditTriggers);
    setDragDropMode(NoDragDrop);
    setMouseTracking(true);
    viewport()->setMouseTracking(true);
    verticalScrollBar()->setSingleStep(20);
    scrolling_.setEasingCurve(QEasingCurve::OutCubic);
    connect(&scrolling_, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { verticalScrollBar()->setValue(value.toInt()); });
}

// The palette colours the viewport and the scroll bar. Setting it is a change of its own, which
// finds nothing more to do.
void PaddedListView::applySurface() {
    const QColor surface = surface_();
    QPalette colours = palette();
    if (colours.color(QPalette::Base) != surface) {
        colours.setColor(QPalette::Base, surface);
        setPalette(colours);
    }
}

void PaddedListView::changeEvent(QEvent* event) {
    QListView::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        applySurface();
    }
}

void PaddedListView::updateRow(int row) {
    if (model() != nullptr && row >= 0 && row < model()->rowCount()) {
        viewport()->update(visualRect(model()->index(row, 0)));
    }
}

void PaddedListView::scrollToRow(int row, std::chrono::milliseconds duration, Anchor anchor) {
    if (model() == nullptr || row < 0 || row >= model()->rowCount()) {
        return;
    }
    executeDelayedItemsLayout();
    QScrollBar* bar = verticalScrollBar();
    const QRect rect = visualRect(model()->index(row, 0));
    const int height = viewport()->height();
    int target = bar->value();
    if (anchor == Anchor::centre) {
        target += rect.center().y() - height / 2;
    } else if (rect.top() < 0) {
        target += rect.top() - (row == 0 ? top_ : 0);
    } else if (rect.bottom() >= height) {
        target += rect.bottom() - height + 1;
    }
    target = std::clamp(target, bar->minimum(), bar->maximum());
    scrolling_.stop();
    if (target == bar->value()) {
        return;
    }
    scrolling_.setDuration(Motion::duration(static_cast<int>(duration.count())));
    scrolling_.setStartValue(bar->value());
    scrolling_.setEndValue(target);
    scrolling_.start();
}

int PaddedListView::verticalOffset() const {
    return QListView::verticalOffset() - top_;
}

void PaddedListView::updateGeometries() {
    QListView::updateGeometries();
    if (model() == nullptr || model()->rowCount() == 0) {
        return;
    }
    const int rowHeight = sizeHintForIndex(model()->index(0, 0)).height();
    const int content = model()->rowCount() * rowHeight + top_ + bottom_;
    verticalScrollBar()->setRange(0, std::max(0, content - viewport()->height()));
}

void PaddedListView::scrollContentsBy(int dx, int dy) {
    QListView::scrollContentsBy(dx, dy);
    if (hoveredRow_ >= 0 || viewport()->underMouse()) {
        setHoveredRow(rowAt(viewport()->mapFromGlobal(QCursor::pos())));
    }
}

int PaddedListView::rowAt(const QPoint& place) const {
    return viewport()->rect().contains(place) ? indexAt(place).row() : -1;
}

void PaddedListView::setHoveredRow(int row) {
    if (row != hoveredRow_) {
        updateRow(hoveredRow_);
        hoveredRow_ = row;
        updateRow(hoveredRow_);
    }
}

void PaddedListView::mouseMoveEvent(QMouseEvent* event) {
    const int row = rowAt(event->position().toPoint());
    setHoveredRow(row);
    pointerMoved(row, event->position().toPoint());
}

void PaddedListView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        return;
    }
    pressedRow_ = rowAt(event->position().toPoint());
    if (pressedRow_ >= 0) {
        rowPressed(pressedRow_, event->position().toPoint(), event->modifiers());
    }
}

void PaddedListView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        return;
    }
    const int row = rowAt(event->position().toPoint());
    const int pressed = std::exchange(pressedRow_, -1);
    if (row >= 0 && row == pressed) {
        rowClicked(row, event->position().toPoint(), event->modifiers());
    }
}

void PaddedListView::mouseDoubleClickEvent(QMouseEvent* event) {
    const int row = rowAt(event->position().toPoint());
    if (event->button() == Qt::LeftButton && row >= 0) {
        pressedRow_ = row;
        rowDoubleClicked(row, event->position().toPoint(), event->modifiers());
    }
}

bool PaddedListView::viewportEvent(QEvent* event) {
    if (event->type() == QEvent::Leave) {
        setHoveredRow(-1);
        pointerMoved(-1, {});
    }
    return QListView::viewportEvent(event);
}

// Only what shows the focus is repainted: the base class moves the current row on its own.
void PaddedListView::focusInEvent(QFocusEvent* event) {
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void PaddedListView::focusOutEvent(QFocusEvent* event) {
    QAbstractScrollArea::focusOutEvent(event);
    viewport()->update();
}

void PaddedListView::rowPressed(int, const QPoint&, Qt::KeyboardModifiers) {}

void PaddedListView::rowClicked(int, const QPoint&, Qt::KeyboardModifiers) {}

void PaddedListView::rowDoubleClicked(int, const QPoint&, Qt::KeyboardModifiers) {}

void PaddedListView::pointerMoved(int, const QPoint&) {}

}  // namespace halvenor
