#pragma once

#include <QAbstractButton>

#include "base/Published.h"
#include "model/Artwork.h"

namespace halvenor {

/// The cover in Cover Mode, which is a button that leaves the mode.
class LargeCover : public QAbstractButton {
  public:
    explicit LargeCover(QWidget* parent);

    void setArtwork(const Artwork& artwork);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    Artwork artwork_;
    Subscription coverReady_;
};

}  // namespace halvenor
