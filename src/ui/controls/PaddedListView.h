#pragma once

#include <QListView>
#include <QVariantAnimation>

#include <chrono>
#include <functional>

namespace halvenor {

/// The virtual list that the panes are made of: rows of one height, scrolled by pixels, with room
/// above the first row and below the last that scrolls along. It knows the row under the pointer.
/// Selection is left to the owner.
class PaddedListView : public QListView {
  public:
    enum class Anchor { nearest, centre };

    /// @param rowHeight, top, bottom pixels: of each row, and of the room above and below them all
    /// @param surface the colour of the pane, for the theme that is active when it is asked
    PaddedListView(int rowHeight, int top, int bottom, std::function<QColor()> surface,
                   QWidget* parent);

    /// Paints one row of the model into `rect`.
    virtual void paintRow(QPainter& painter, const QRect& rect, int row) const = 0;

    /// The row under the pointer, or -1.
    int hoveredRow() const { return hoveredRow_; }
    /// Repaints one row, if it shows.
    void updateRow(int row);
    /// Scrolls until the row shows, easing out.
    void scrollToRow(int row, std::chrono::milliseconds duration, Anchor anchor = Anchor::nearest);

  protected:
    int verticalOffset() const override;
    void updateGeometries() override;
    void scrollContentsBy(int dx, int dy) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;

    /// The left button went down on a row, at a place in the viewport.
    virtual void rowPressed(int row, const QPoint& place, Qt::KeyboardModifiers modifiers);
    /// It went up again on the same row.
    virtual void rowClicked(int row, const QPoint& place, Qt::KeyboardModifiers modifiers);
    virtual void rowDoubleClicked(int row, const QPoint& place, Qt::KeyboardModifiers modifiers);
    /// The pointer moved within a row, or onto another one (-1: none).
    virtual void pointerMoved(int row, const QPoint& place);

  private:
    void applySurface();
    int rowAt(const QPoint& place) const;
    void setHoveredRow(int row);

    std::function<QColor()> surface_;
    int top_;
    int bottom_;
    int hoveredRow_ = -1;
    int pressedRow_ = -1;
    QVariantAnimation scrolling_;
};

}  // namespace halvenor
