#pragma once

#include <QWidget>

#include <functional>

namespace halvenor {

/// The line between the sidebar and the track list: one pixel to see, twenty to take hold of. It
/// lies over both sides, and lets them show through.
class SplitDivider : public QWidget {
  public:
    static constexpr int hitWidth = 20;

    explicit SplitDivider(QWidget* parent);

    /// The pointer's x in the parent's coordinates, at each step of a drag and its beginning.
    std::function<void(double)> onDragged;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

  private:
    void report(const QMouseEvent& event);
};

}  // namespace halvenor
