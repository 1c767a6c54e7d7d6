#include "platform/appearance/SystemAppearance.h"

#include <QGuiApplication>
#include <QPalette>

namespace halvenor {

SystemAppearance currentSystemAppearance() {
    const QColor window = QGuiApplication::palette().color(QPalette::Window);
    return window.lightness() < 128 ? SystemAppearance::dark : SystemAppearance::light;
}

}  // namespace halvenor
