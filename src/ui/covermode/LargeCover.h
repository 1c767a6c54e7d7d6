#pragma once

#include "base/Published.h"
#include "model/Artwork.h"
#include "ui/controls/PaintedButton.h"

namespace halvenor {

/// The cover in Cover Mode, which is a button that leaves the mode.
class LargeCover : public PaintedButton {
  public:
    explicit LargeCover(QWidget* parent);

    void setArtwork(const Artwork& artwork);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    Artwork artwork_;
    Subscription coverReady_;
};

}  // namespace halvenor
