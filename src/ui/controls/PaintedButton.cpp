#include "ui/controls/PaintedButton.h"

#include <QKeyEvent>

namespace halvenor {

PaintedButton::PaintedButton(QWidget* parent) : QAbstractButton(parent) {
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::TabFocus);
}

void PaintedButton::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        click();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

}  // namespace halvenor
