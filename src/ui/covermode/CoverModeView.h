#pragma once

#include <QWidget>

#include <functional>
#include <optional>

#include "base/Published.h"
#include "model/Track.h"

namespace halvenor {

class AppState;
class CoverModeVolume;
class IconButton;
class LargeCover;
class TimelineView;

/// Cover Mode: the cover of what plays, large, beside a column of controls, on black in every
/// theme. A click on the cover leaves it.
class CoverModeView : public QWidget {
  public:
    CoverModeView(AppState& state, QWidget* parent);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    IconButton* makeButton(const QString& symbol, double size, const QString& name,
                           std::function<void()> action);
    void subscribe();
    void refreshTrack();
    void refreshTransport();
    void showMenu();
    void layOut();

    AppState& state_;
    LargeCover* cover_;
    IconButton* favorite_;
    IconButton* previous_;
    IconButton* play_;
    IconButton* next_;
    TimelineView* timeline_;
    CoverModeVolume* volume_;
    IconButton* menu_;
    QRect textRect_;
    QString title_;
    QString artist_;
    Subscriptions subscriptions_;
};

}  // namespace halvenor
