#pragma once

#include <QColor>
#include <QLabel>

namespace halvenor {

/// A short text in a colour of the theme, on as many lines as there is height for; what does not
/// fit is cut short with an ellipsis. Assistive technology reads it whole.
class TextLine : public QLabel {
  public:
    /// Asked at each painting, so that it follows the theme.
    using Colour = QColor (*)();

    TextLine(const QFont& font, Colour colour, QWidget* parent);

    void setColour(Colour colour);
    /// Room for this many lines.
    void setLines(int count);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    Colour colour_;
};

}  // namespace halvenor
