#include "ui/controls/Menus.h"

#include <QFontMetrics>
#include <QMenu>

namespace halvenor {

QString menuText(const QString& name, const QMenu& menu, int widest) {
    return QFontMetrics(menu.font())
        .elidedText(name.simplified(), Qt::ElideRight, widest)
        .replace(QLatin1Char('&'), QStringLiteral("&&"));
}

void popUpAbove(QMenu& menu, const QWidget& button) {
    constexpr int gap = 4;
    const QPoint corner = button.mapToGlobal(button.rect().topRight());
    const QSize size = menu.sizeHint();
    menu.popup(corner - QPoint(size.width(), size.height() + gap));
}

}  // namespace halvenor
