#pragma once

#include <QDialog>

#include "base/Published.h"
#include "model/Artwork.h"

namespace halvenor {

/// The cover, large, in a window of its own size over the middle of the screen. Escape, a click on
/// the cover or its close button close it.
class AlbumCoverPreview : public QDialog {
  public:
    AlbumCoverPreview(const Artwork& artwork, QWidget* parent);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

  private:
    Artwork artwork_;
    Subscription coverReady_;
};

}  // namespace halvenor
