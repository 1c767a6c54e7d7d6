#include "ui/controls/TextButton.h"

#include <QFontMetricsF>
#include <QKeyEvent>
#include <QPainter>

#include <cmath>

#include "ui/controls/ElidedText.h"
#include "ui/controls/FocusRing.h"
#include "ui/symbols/Symbols.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {
constexpr double symbolSize = 12;
constexpr double symbolSpace = 22;
constexpr double sidePadding = 12;
}  // namespace

TextButton::TextButton(const QString& text, QWidget* parent) : QAbstractButton(parent) {
    setText(text);
    setAccessibleName(text);
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void TextButton::setSymbol(const QString& symbol) {
    symbol_ = symbol;
    updateGeometry();
    update();
}

void TextButton::setProminent(bool isProminent) {
    isProminent_ = isProminent;
    update();
}

QFont TextButton::face() const {
    return HalvenorTheme::font(12, QFont::Medium);
}

QSize TextButton::sizeHint() const {
    const double symbol = symbol_.isEmpty() ? 0 : symbolSpace - 2;
    const double width = QFontMetricsF(face()).horizontalAdvance(text()) + symbol + 2 * sidePadding;
    return {static_cast<int>(std::ceil(width)), 28};
}

void TextButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QColor plate = isProminent_ ? HalvenorTheme::accent() : HalvenorTheme::hoverTint();
    const float strength = underMouse() ? 0.11F : 0.06F;
    plate.setAlphaF(isProminent_ ? (underMouse() ? 1.0F : 0.88F) : strength);
    painter.setBrush(plate);
    const QRectF area(rect());
    painter.drawRoundedRect(area, 7, 7);
    if (isDown()) {
        painter.setOpacity(0.7);
    }
    QColor ink = HalvenorTheme::isLight() ? QColor(Qt::black) : QColor(225, 225, 225);
    if (isProminent_) {
        ink = Qt::white;
    }
    QRectF textArea = area.adjusted(sidePadding, 0, -sidePadding + 2, 0);
    if (symbol_.isEmpty()) {
        drawElided(painter, textArea, face(), ink, text(), Qt::AlignHCenter);
    } else {
        Symbols::draw(painter, symbol_, symbolSize, {sidePadding + 7, area.center().y()}, ink);
        textArea.setLeft(sidePadding + symbolSpace - 2);
        drawElided(painter, textArea, face(), ink, text());
    }
    painter.setOpacity(1);
    paintFocusRing(painter, *this, 6);
}

void TextButton::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        click();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

}  // namespace halvenor
