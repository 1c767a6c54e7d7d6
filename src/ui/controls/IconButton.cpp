#include "ui/controls/IconButton.h"

#include <QPainter>

#include <algorithm>

#include "ui/controls/FocusRing.h"
#include "ui/symbols/Symbols.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

IconButton::IconButton(const QString& symbol, double size, const QString& name, QWidget* parent)
    : PaintedButton(parent), symbol_(symbol), size_(size) {
    setHelp(name);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize IconButton::sizeHint() const {
    return {static_cast<int>(std::max(size_ + 8, 28.0)), 32};
}

void IconButton::setSymbol(const QString& symbol) {
    if (symbol != symbol_) {
        symbol_ = symbol;
        update();
    }
}

void IconButton::setHelp(const QString& help) {
    setToolTip(help);
    setAccessibleName(help);
}

void IconButton::setActive(bool isActive) {
    if (isActive != isActive_) {
        isActive_ = isActive;
        update();
    }
}

void IconButton::setSurround(Surround surround) {
    surround_ = surround;
    update();
}

QColor IconButton::tint() const {
    Tints tints = tintsOf(surround_);
    if (!isEnabled()) {
        tints.neutral.setAlphaF(0.35F);
        return tints.neutral;
    }
    if (underMouse()) {
        return tints.hover;
    }
    return isActive_ ? tints.active : tints.neutral;
}

void IconButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRectF area(rect());
    if (hasPlate_ && isEnabled() && (isActive_ || underMouse())) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        QColor plate = HalvenorTheme::hoverTint();
        plate.setAlphaF(isActive_ ? 0.1F : 0.06F);
        painter.setBrush(plate);
        painter.drawRoundedRect(area.adjusted(0, 2, 0, -2), 6, 6);
    }
    if (isDown()) {
        painter.setOpacity(0.65);
    }
    Symbols::draw(painter, symbol_, size_, area.center(), tint());
    painter.setOpacity(1);
    paintFocusRing(painter, *this, 6);
}

void IconButton::changeEvent(QEvent* event) {
    PaintedButton::changeEvent(event);
    update();
}

}  // namespace halvenor
