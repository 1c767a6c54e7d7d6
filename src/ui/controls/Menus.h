#pragma once

#include <QString>

class QMenu;
class QWidget;

/// What several menus of the window have in common. Main thread.
namespace halvenor {

/// A name that the user gave, as an entry of `menu`: on one line, its ampersands no marks of keys.
/// @param widest in device-independent pixels; a longer name is cut short
QString menuText(const QString& name, const QMenu& menu, int widest = 320);

/// Opens the menu above the button, their right edges aligned.
void popUpAbove(QMenu& menu, const QWidget& button);

}  // namespace halvenor
