#pragma once

#include <QWidget>

#include "base/Published.h"

class QAbstractButton;

namespace halvenor {

class AppState;
class IconButton;

/// What an empty library shows in the place of the tree: a button that leads to the choice of a
/// folder, and the way to the settings.
class NoFoldersHint : public QWidget {
  public:
    NoFoldersHint(AppState& state, QWidget* parent);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    void layOut();

    QAbstractButton* browse_;
    IconButton* settings_;
    QRect manageLine_;
    QRect beforeButton_;
    QRect afterButton_;
};

}  // namespace halvenor
