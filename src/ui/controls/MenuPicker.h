#pragma once

#include <QList>

#include <functional>

#include "ui/controls/PaintedButton.h"

namespace halvenor {

/// A choice of one among several: it shows the chosen one, and opens a menu of all.
class MenuPicker : public PaintedButton {
  public:
    struct Item {
        QString id;
        QString text;
    };

    MenuPicker(const QString& accessibleName, QWidget* parent);

    /// The user has chosen the item of this id.
    std::function<void(const QString&)> onChosen;

    /// @param selected the id of the chosen one; where it is none of them, nothing is shown
    void setItems(const QList<Item>& items, const QString& selected);
    const QList<Item>& items() const { return items_; }

    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void openMenu();

    QList<Item> items_;
    QString selected_;
};

}  // namespace halvenor
