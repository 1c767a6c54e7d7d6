#pragma once

#include <QWidget>

#include <functional>
#include <optional>

#include "model/Track.h"

namespace halvenor {

class ArtworkButton;
class TrackTextButton;

/// The left of the player bar: what plays. A click on the cover leads to its folder; one on the
/// words copies them.
class TrackSummaryView : public QWidget {
  public:
    explicit TrackSummaryView(QWidget* parent);

    std::function<void()> onArtworkClicked;
    std::function<void()> onTextClicked;

    /// Absent: nothing is shown.
    void setTrack(const std::optional<Track>& track);

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    ArtworkButton* artwork_;
    TrackTextButton* text_;
};

}  // namespace halvenor
