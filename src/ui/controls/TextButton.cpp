#include "ui/controls/TextButton.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QStyle>

#include <algorithm>
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

TextButton::TextButton(const QString& text, QWidget* parent) : PaintedButton(parent) {
    setLabel(text);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void TextButton::setLabel(const QString& text) {
    setText(text);
    setAccessibleName(text);
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

QColor TextButton::plate() const {
    const bool isLit = isEnabled() && underMouse();
    QColor plate = isProminent_ ? HalvenorTheme::accent() : HalvenorTheme::hoverTint();
    if (isProminent_) {
        plate.setAlphaF(!isEnabled() ? 0.3F : isLit ? 1.0F : 0.88F);
    } else {
        plate.setAlphaF(!isEnabled() ? 0.03F : isLit ? 0.11F : 0.06F);
    }
    return plate;
}

QColor TextButton::ink() const {
    QColor ink = HalvenorTheme::isLight() ? QColor(Qt::black) : QColor(225, 225, 225);
    if (isProminent_) {
        ink = Qt::white;
    }
    if (!isEnabled()) {
        ink.setAlphaF(isProminent_ ? 0.6F : 0.35F);
    }
    return ink;
}

// The symbol and the text are one group in the middle.
void TextButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(plate());
    const QRectF area(rect());
    painter.drawRoundedRect(area, 7, 7);
    if (isDown()) {
        painter.setOpacity(0.7);
    }
    if (symbol_.isEmpty()) {
        drawElided(painter, area.adjusted(sidePadding, 0, -sidePadding + 2, 0), face(), ink(),
                   text(), Qt::AlignHCenter);
    } else {
        const int group = sizeHint().width() - static_cast<int>(2 * sidePadding);
        const int begin = std::max((width() - group) / 2, static_cast<int>(sidePadding));
        const auto place = [&](int left, int wide) {
            return QRectF(
                QStyle::visualRect(layoutDirection(), rect(), QRect(left, 0, wide, height())));
        };
        Symbols::draw(painter, symbol_, symbolSize, place(begin, 14).center(), ink());
        const int textBegin = begin + static_cast<int>(symbolSpace) - 2;
        const int room = width() - textBegin - static_cast<int>(sidePadding) + 2;
        const int textWidth = group - static_cast<int>(symbolSpace) + 2;
        drawElided(painter, place(textBegin, std::min(room, textWidth)), face(), ink(), text());
    }
    painter.setOpacity(1);
    paintFocusRing(painter, *this, 6);
}

}  // namespace halvenor
