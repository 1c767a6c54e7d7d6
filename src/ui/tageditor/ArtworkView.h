#pragma once

#include <QWidget>

#include <optional>

#include "base/Published.h"
#include "model/Artwork.h"

namespace halvenor {

/// An editor's cover: decoded off the main thread, with a note in its place where there is none.
class ArtworkView : public QWidget {
  public:
    /// @param side device-independent pixels, both ways
    ArtworkView(int side, double placeholderSize, QWidget* parent);

    void setData(const std::optional<QByteArray>& bytes);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    double placeholderSize_;
    Artwork artwork_;
    Subscription coverReady_;
};

}  // namespace halvenor
