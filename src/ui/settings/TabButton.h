#pragma once

#include "ui/controls/PaintedButton.h"

namespace halvenor {

/// A tab: a symbol over its title, on a plate while it is chosen.
class TabButton : public PaintedButton {
  public:
    TabButton(const QString& symbol, const QString& title, QWidget* parent);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QString symbol_;
};

}  // namespace halvenor
