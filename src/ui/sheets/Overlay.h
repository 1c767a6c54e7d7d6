#pragma once

#include <QPointer>
#include <QWidget>

namespace halvenor {

/// A card over the dimmed content of its window. While it is open the keyboard's focus stays in it;
/// then the focus goes back to where it was. It blocks nothing: music and tasks go on behind it.
///
/// What lies on the card are children, placed by layOutCard(). Main thread.
class Overlay : public QWidget {
  public:
    /// @param window what it covers, whole
    explicit Overlay(QWidget* window);

  protected:
    /// Shows it above everything. @param first what gets the focus
    void open(QWidget* first);
    /// Hides it and gives the focus back.
    void close();
    /// What Escape does.
    virtual void cancel() = 0;
    /// Where the card lies, in the overlay's coordinates.
    virtual QRect cardRect() const = 0;
    /// Places what lies on the card. Called before it shows, and when its window is resized.
    virtual void layOutCard() = 0;
    /// Draws what is not a child, on the card that is there already.
    virtual void paintCard(QPainter&) {}

    /// A card of this size in the middle of the window, made smaller where the window is.
    QRect centred(const QSize& size) const;

    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    bool focusNextPrevChild(bool next) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void giveFocusBack();

    QPointer<QWidget> focusBefore_;
};

}  // namespace halvenor
