#pragma once

#include <QAbstractButton>

namespace halvenor {

/// What an empty library shows in the place of the tree: a plain button that leads to the choice of
/// a folder.
class NoFoldersHint : public QAbstractButton {
  public:
    explicit NoFoldersHint(QWidget* parent);

  protected:
    void paintEvent(QPaintEvent* event) override;
    bool hitButton(const QPoint& place) const override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    QRect contentRect() const;
};

}  // namespace halvenor
