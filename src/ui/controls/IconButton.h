#pragma once

#include <QColor>

#include <functional>

#include "ui/controls/PaintedButton.h"
#include "ui/controls/Surround.h"

namespace halvenor {

/// A button that is a symbol: tinted, lit while the pointer is over it, with a hit area larger than
/// its glyph. `max(size + 8, 28)` wide and 32 high.
class IconButton : public PaintedButton {
  public:
    /// @param symbol a name that Symbols knows
    /// @param size that of the symbol, as text
    /// @param name what it is called to assistive technology, and its tooltip
    IconButton(const QString& symbol, double size, const QString& name, QWidget* parent);

    void setSymbol(const QString& symbol);
    void setHelp(const QString& help);
    /// Lit modes and switches have a tint of their own; the neutral one otherwise.
    void setActive(bool isActive);
    bool isActive() const { return isActive_; }
    /// A soft plate behind the symbol while it is active or under the pointer.
    void setPlate(bool hasPlate) { hasPlate_ = hasPlate; }
    void setSurround(Surround surround);
    const QString& symbol() const { return symbol_; }

    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    QColor tint() const;

    QString symbol_;
    double size_;
    Surround surround_ = Surround::theme;
    bool isActive_ = false;
    bool hasPlate_ = false;
};

}  // namespace halvenor
