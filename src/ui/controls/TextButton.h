#pragma once

#include "ui/controls/PaintedButton.h"

namespace halvenor {

/// A button with a text on a plate, with a symbol before it if it has one.
class TextButton : public PaintedButton {
  public:
    TextButton(const QString& text, QWidget* parent);

    /// Its text, which is also what assistive technology calls it.
    void setLabel(const QString& text);
    void setSymbol(const QString& symbol);
    /// The answer that Return gives: its plate is filled with the accent.
    void setProminent(bool isProminent);
    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QFont face() const;
    QColor plate() const;
    QColor ink() const;

    QString symbol_;
    bool isProminent_ = false;
};

}  // namespace halvenor
