#pragma once

#include <QAbstractButton>

namespace halvenor {

/// A tab: a symbol over its title, on a plate while it is chosen.
class TabButton : public QAbstractButton {
  public:
    TabButton(const QString& symbol, const QString& title, QWidget* parent);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    QString symbol_;
};

}  // namespace halvenor
