#pragma once

#include <QVariantAnimation>
#include <QWidget>

#include "base/Published.h"

namespace halvenor {

class AppState;
class HistoryList;

/// What was played, newest first; it slides in over the trailing edge of the window. A click plays.
class HistoryPanel : public QWidget {
  public:
    static constexpr int panelWidth = 320;

    HistoryPanel(AppState& state, QWidget* parent);

    bool isShown() const { return isShown_; }
    /// Slides in or out.
    void setShown(bool isShown);
    /// Where it lies when it is all the way in, in the parent's coordinates.
    void setRestingPlace(const QRect& place);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void makeList();
    void layOut();
    void refresh();
    void place();

    AppState& state_;
    HistoryList* list_ = nullptr;  // made when it is first shown
    QVariantAnimation sliding_;
    QRect restingPlace_;
    bool isShown_ = false;
    double inside_ = 0;  // 0 out of sight ... 1 all the way in
    Subscription subscription_;
};

}  // namespace halvenor
