#include "ui/sheets/Overlay.h"

#include <QAccessible>
#include <QKeyEvent>
#include <QPainter>

#include "ui/controls/AccessibleRole.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {

constexpr int leastMargin = 16;
constexpr double cornerRadius = 12;

void paintShadow(QPainter& painter, const QRectF& card) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, HalvenorTheme::isLight() ? 7 : 12));
    for (int spread = 12; spread > 0; spread -= 3) {
        painter.drawRoundedRect(card.adjusted(-spread, 4 - spread, spread, 4 + spread),
                                cornerRadius + spread, cornerRadius + spread);
    }
}

}  // namespace

Overlay::Overlay(QWidget* window) : QWidget(window) {
    setAccessibleRole(*this, QAccessible::Dialog);
    window->installEventFilter(this);
    setGeometry(window->rect());
    hide();
}

QRect Overlay::centred(const QSize& size) const {
    const QSize room(width() - 2 * leastMargin, height() - 2 * leastMargin);
    QRect card(QPoint(), size.boundedTo(room));
    card.moveCenter(rect().center());
    return card;
}

void Overlay::open(QWidget* first) {
    if (isHidden()) {
        focusBefore_ = window()->focusWidget();
    }
    layOutCard();
    show();
    raise();
    first->setFocus(Qt::PopupFocusReason);
    QAccessibleEvent event(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

void Overlay::close() {
    giveFocusBack();
    hide();
}

void Overlay::giveFocusBack() {
    QWidget* present = window()->focusWidget();
    if (!isAncestorOf(present)) {
        return;
    }
    if (focusBefore_ != nullptr && focusBefore_->isVisible()) {
        focusBefore_->setFocus(Qt::OtherFocusReason);
    } else {
        present->clearFocus();
    }
}

void Overlay::resizeEvent(QResizeEvent*) {
    if (isVisible()) {
        layOutCard();
        update();
    }
}

bool Overlay::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize) {
        setGeometry(parentWidget()->rect());
    }
    return QWidget::eventFilter(watched, event);
}

void Overlay::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), QColor(0, 0, 0, HalvenorTheme::isLight() ? 70 : 140));
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF card(cardRect());
    paintShadow(painter, card);
    painter.setPen(HalvenorTheme::hairline());
    painter.setBrush(HalvenorTheme::cardSurface());
    painter.drawRoundedRect(card.adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
    paintCard(painter);
}

void Overlay::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        cancel();
    }
}

// What lies beneath can't be reached through the sheet.
void Overlay::mousePressEvent(QMouseEvent*) {}

// Round and round among what can be reached by Tab on the card, in the window's order.
bool Overlay::focusNextPrevChild(bool next) {
    QWidget* const start = window()->focusWidget();
    QWidget* at = start != nullptr ? start : this;
    QWidget* const first = at;
    do {
        at = next ? at->nextInFocusChain() : at->previousInFocusChain();
        if (at != this && isAncestorOf(at) && at->isVisible() && at->isEnabled() &&
            (at->focusPolicy() & Qt::TabFocus) != 0) {
            at->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
            return true;
        }
    } while (at != first);
    return isAncestorOf(start);
}

}  // namespace halvenor
