#pragma once

#include <QLabel>

#include <functional>

namespace halvenor {

/// A text in a colour of the palette, which it follows. A single line is cut short where it does
/// not fit; with word wrap it takes the lines that it needs.
class TextLabel : public QLabel {
  public:
    /// @param colour for the theme that is active when it is asked
    TextLabel(const QString& text, const QFont& font, std::function<QColor()> colour);

    void setColour(std::function<QColor()> colour);
    /// Where a line that is too long is cut.
    void setElideMode(Qt::TextElideMode mode) { elideMode_ = mode; }

    /// Takes the height of this many lines, whatever the text: it stands in the middle of them, and
    /// is cut short at the end of the last.
    void setLines(int count);

    QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    void paintLines(QPainter& painter, int horizontal) const;

    int lines_ = 0;  // 0: as the text needs
    std::function<QColor()> colour_;
    Qt::TextElideMode elideMode_ = Qt::ElideRight;
};

}  // namespace halvenor
