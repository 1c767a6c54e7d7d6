#pragma once

#include <QIcon>
#include <QString>

class QWidget;

namespace halvenor {

/// A symbol as a menu shows it: in the text's colour, white on the row that is chosen, faint where
/// it can't be.
/// @param menu for whose screen it is rendered
QIcon symbolIcon(const QString& name, const QWidget& menu);

}  // namespace halvenor
