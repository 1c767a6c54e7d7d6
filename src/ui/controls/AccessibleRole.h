#pragma once

#include <QAccessible>

class QWidget;

namespace halvenor {

/// Tells assistive technology what a widget of our own is; its name is its accessible name. Called
/// as the widget is made, before anybody asks. Main thread.
void setAccessibleRole(QWidget& widget, QAccessible::Role role);

}  // namespace halvenor
