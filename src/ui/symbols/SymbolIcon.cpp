#include "ui/symbols/SymbolIcon.h"

#include <QWidget>

#include "ui/symbols/Symbols.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

QIcon symbolIcon(const QString& name, const QWidget& menu) {
    const double ratio = menu.devicePixelRatioF();
    const double side = Symbols::side(12);
    const QColor ink = HalvenorTheme::isLight() ? QColor(20, 20, 20) : QColor(222, 222, 222);
    QColor faint = ink;
    faint.setAlphaF(0.35F);
    QIcon icon;
    icon.addPixmap(Symbols::pixmap(name, side, ratio, ink), QIcon::Normal);
    icon.addPixmap(Symbols::pixmap(name, side, ratio, Qt::white), QIcon::Active);
    icon.addPixmap(Symbols::pixmap(name, side, ratio, faint), QIcon::Disabled);
    return icon;
}

}  // namespace halvenor
