#include "ui/sheets/Sheet.h"

#include <QPainter>
#include <QStyle>

#include <algorithm>

#include "ui/controls/TextButton.h"
#include "ui/controls/WrappedText.h"
#include "ui/symbols/Symbols.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {

constexpr int widestCard = 380;
constexpr int padding = 24;
constexpr int symbolRoom = 38;
constexpr int buttonHeight = 32;
constexpr int buttonGap = 10;
constexpr int fieldHeight = 32;

QFont titleFont() {
    return HalvenorTheme::font(14, QFont::Bold);
}

QFont messageFont() {
    return HalvenorTheme::font(12);
}

}  // namespace

// Where everything lies, in the sheet's coordinates.
struct Sheet::Places {
    QRect card;
    QPoint symbolCentre;
    QRect title;
    QRect message;
    QRect field;
    QRect buttons;
};

Sheet::Sheet(QWidget* window) : Overlay(window) {}

void Sheet::setText(const QString& symbol, const QString& title, const QString& message) {
    symbol_ = symbol;
    title_ = title;
    message_ = message;
    setAccessibleName(title);
    setAccessibleDescription(message);
    update();
}

TextButton* Sheet::addButton(const QString& label, std::function<void()> action) {
    auto* button = new TextButton(label, this);
    button->setFocusPolicy(Qt::StrongFocus);
    connect(button, &QAbstractButton::clicked, this, std::move(action));
    buttons_.push_back(button);
    return button;
}

void Sheet::setField(QWidget* field) {
    field_ = field;
}

Sheet::Places Sheet::places() const {
    const int cardWidth = std::min(widestCard, width() - 2 * padding);
    const int inner = cardWidth - 2 * padding;
    Places places;
    int y = padding;
    const auto take = [&](int height, int gapAfter) {
        const QRect rect(padding, y, inner, height);
        y += height > 0 ? height + gapAfter : 0;
        return rect;
    };
    const QRect symbol = take(symbol_.isEmpty() ? 0 : symbolRoom, 0);
    places.symbolCentre = QPoint(cardWidth / 2, symbol.top() + 14);
    places.title = take(wrappedHeight(title_, titleFont(), inner), 10);
    places.message =
        take(std::min(wrappedHeight(message_, messageFont(), inner), height() / 2), padding - 4);
    if (message_.isEmpty()) {
        y += 4;
    }
    places.field = take(field_ != nullptr ? fieldHeight : 0, 16);
    places.buttons = take(buttonHeight, 0);
    const QSize size(cardWidth, y + padding);
    const QPoint corner((width() - size.width()) / 2,
                        (height() - size.height()) / 2 - height() / 16);
    places.card = QRect(corner, size);
    places.symbolCentre += corner;
    for (QRect* rect : {&places.title, &places.message, &places.field, &places.buttons}) {
        rect->translate(corner);
    }
    return places;
}

QRect Sheet::cardRect() const {
    return places().card;
}

void Sheet::layOutCard() {
    const Places where = places();
    if (field_ != nullptr) {
        field_->setGeometry(where.field);
    }
    const auto count = static_cast<int>(buttons_.size());
    const int width = (where.buttons.width() - (count - 1) * buttonGap) / std::max(count, 1);
    int left = where.buttons.left();
    for (TextButton* button : buttons_) {
        button->setGeometry(
            QStyle::visualRect(layoutDirection(), where.card,
                               QRect(left, where.buttons.top(), width, where.buttons.height())));
        left += width + buttonGap;
    }
    update();
}

void Sheet::paintCard(QPainter& painter) {
    const Places where = places();
    if (!symbol_.isEmpty()) {
        Symbols::draw(painter, symbol_, 22, where.symbolCentre, HalvenorTheme::accent());
    }
    drawWrapped(painter, where.title, titleFont(), HalvenorTheme::highlightText(), title_);
    drawWrapped(painter, where.message, messageFont(), HalvenorTheme::secondaryText(), message_);
}

}  // namespace halvenor
