#include "ui/mainwindow/KeyMonitor.h"

#include <QAbstractSpinBox>
#include <QApplication>
#include <QFileDialog>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextEdit>

namespace halvenor {

namespace {

bool isTyping() {
    const QWidget* focus = QApplication::focusWidget();
    return qobject_cast<const QLineEdit*>(focus) != nullptr ||
           qobject_cast<const QTextEdit*>(focus) != nullptr ||
           qobject_cast<const QPlainTextEdit*>(focus) != nullptr ||
           qobject_cast<const QAbstractSpinBox*>(focus) != nullptr;
}

}  // namespace

KeyMonitor::KeyMonitor(QWidget* window) : QObject(window), window_(window) {
    QApplication::instance()->installEventFilter(this);
}

// A press comes by once for the native window and once for each widget it is offered to. The first
// widget decides. A file dialog is a place of its own: there a letter leads to a file.
bool KeyMonitor::isOurs(const QObject* receiver) const {
    if (!receiver->isWidgetType()) {
        return false;
    }
    const QWidget* top = static_cast<const QWidget*>(receiver)->window();
    while (top != nullptr && top != window_) {
        if (qobject_cast<const QFileDialog*>(top) != nullptr) {
            return false;
        }
        top = top->parentWidget() != nullptr ? top->parentWidget()->window() : nullptr;
    }
    return top == window_;
}

bool KeyMonitor::eventFilter(QObject* receiver, QEvent* event) {
    if (event->type() != QEvent::KeyPress || !isOurs(receiver) || isTyping() ||
        QApplication::activePopupWidget() != nullptr) {
        return false;
    }
    const auto& press = static_cast<const QKeyEvent&>(*event);
    const auto action = windowAction(press.nativeScanCode(), press.key(), press.modifiers());
    if (!action) {
        return false;
    }
    // A key held down is one wish: a toggle must not flutter, nor a folder race by.
    if (!press.isAutoRepeat() && onAction) {
        onAction(*action);
    }
    event->accept();
    return true;
}

}  // namespace halvenor
