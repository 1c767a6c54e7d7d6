#pragma once

#include <QWidget>

#include "base/Published.h"

namespace halvenor {

class AudioEngineManager;
class IconButton;
class ThinSlider;

/// The volume in Cover Mode: a slider between two symbols that stand, whatever is muted. The left
/// one mutes; the right one unmutes and goes a step louder.
class CoverModeVolume : public QWidget {
  public:
    CoverModeVolume(AudioEngineManager& engine, QWidget* parent);

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    void unmuteAndIncreaseVolume();

    AudioEngineManager& engine_;
    IconButton* mute_;
    ThinSlider* slider_;
    IconButton* louder_;
    Subscription volume_;
};

}  // namespace halvenor
