#include "ui/controls/SymbolView.h"

#include <QPainter>

#include <utility>

#include "ui/symbols/Symbols.h"

namespace halvenor {

SymbolView::SymbolView(const QString& symbol, double size, std::function<QColor()> colour)
    : symbol_(symbol), size_(size), colour_(std::move(colour)) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize SymbolView::sizeHint() const {
    const int side = static_cast<int>(Symbols::side(size_));
    return {side, side};
}

void SymbolView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    Symbols::draw(painter, symbol_, size_, QRectF(rect()).center(), colour_());
}

}  // namespace halvenor
