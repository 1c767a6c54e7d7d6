#pragma once

#include <QTimer>
#include <QWidget>

class QPainter;

namespace halvenor {

/// Draws a turning arc. @param turn 0...1 of a round
void paintSpinner(QPainter& painter, const QPointF& centre, double diameter, double turn,
                  const QColor& colour);
/// How far round a spinner is at this moment, 0...1.
double spinnerTurn();
/// Between two steps of a spinner, milliseconds.
inline constexpr int spinnerInterval = 50;

/// A sign of work. It turns only while it shows.
class Spinner : public QWidget {
  public:
    Spinner(double diameter, QWidget* parent);

    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    double diameter_;
    QTimer timer_;
};

}  // namespace halvenor
