#include "ui/controls/Surround.h"

#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {

const QColor grey = QColor::fromRgbF(0.573F, 0.573F, 0.573F);

}  // namespace

Tints tintsOf(Surround surround) {
    if (surround == Surround::black) {
        return {grey,
                Qt::white,
                Qt::white,
                QColor::fromRgbF(0.376F, 0.557F, 0.922F),
                QColor(255, 255, 255, 42),
                QColor(210, 210, 210)};
    }
    const bool isLight = HalvenorTheme::isLight();
    return {HalvenorTheme::neutralTint(),
            HalvenorTheme::buttonActive(),
            HalvenorTheme::hoverTint(),
            HalvenorTheme::accent(),
            isLight ? QColor(0, 0, 0, 46) : QColor(255, 255, 255, 34),
            isLight ? QColor(Qt::black) : QColor(200, 200, 200)};
}

}  // namespace halvenor
