#pragma once

#include <QAbstractButton>

namespace halvenor {

/// The base of the buttons that paint themselves: it repaints under the pointer, is reached by Tab,
/// and is pressed by Return as well as by Space.
class PaintedButton : public QAbstractButton {
  public:
    explicit PaintedButton(QWidget* parent = nullptr);

  protected:
    void keyPressEvent(QKeyEvent* event) override;
};

}  // namespace halvenor
