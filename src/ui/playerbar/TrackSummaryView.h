#pragma once

#include <QWidget>

#include <functional>
#include <optional>

#include "model/Track.h"

namespace halvenor {

class ArtworkButton;
class IconButton;
class TrackTextButton;

/// The left of the player bar: what plays. A click on the cover leads to its folder; one on the
/// words copies them, the heart makes it a favourite.
class TrackSummaryView : public QWidget {
  public:
    explicit TrackSummaryView(QWidget* parent);

    std::function<void()> onArtworkClicked;
    std::function<void()> onTextClicked;
    std::function<void()> onFavoriteClicked;

    /// Absent: nothing is shown.
    void setTrack(const std::optional<Track>& track);
    void setFavorite(bool isFavorite);

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    ArtworkButton* artwork_;
    TrackTextButton* text_;
    IconButton* favorite_;
};

}  // namespace halvenor
