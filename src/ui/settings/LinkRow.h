#pragma once

#include "ui/controls/PaintedButton.h"

namespace halvenor {

/// A button across the page that leads out of the program: a symbol, a title with perhaps a note
/// beneath it, and an arrow.
class LinkRow : public PaintedButton {
  public:
    LinkRow(const QString& symbol, const QString& title, const QString& note = {});

    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QString symbol_;
    QString note_;
};

}  // namespace halvenor
