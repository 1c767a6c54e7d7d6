#include "ui/mainwindow/SplitDivider.h"

#include <QMouseEvent>
#include <QPainter>

#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

SplitDivider::SplitDivider(QWidget* parent) : QWidget(parent) {
    setCursor(Qt::SplitHCursor);
}

void SplitDivider::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(QRect(width() / 2, 0, 1, height()), HalvenorTheme::dividerColor());
}

void SplitDivider::mousePressEvent(QMouseEvent* event) {
    report(*event);
}

void SplitDivider::mouseMoveEvent(QMouseEvent* event) {
    report(*event);
}

void SplitDivider::report(const QMouseEvent& event) {
    if ((event.buttons() & Qt::LeftButton) != 0 && onDragged) {
        onDragged(mapToParent(event.position()).x());
    }
}

}  // namespace halvenor
