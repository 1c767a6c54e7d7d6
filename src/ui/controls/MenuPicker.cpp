#include "ui/controls/MenuPicker.h"

#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QStyle>

#include "ui/controls/ElidedText.h"
#include "ui/controls/FocusRing.h"
#include "ui/controls/Menus.h"
#include "ui/symbols/SymbolIcon.h"
#include "ui/symbols/Symbols.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {
constexpr int widestText = 420;
}  // namespace

MenuPicker::MenuPicker(const QString& accessibleName, QWidget* parent) : PaintedButton(parent) {
    setAccessibleName(accessibleName);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(this, &QAbstractButton::clicked, this, [this] { openMenu(); });
}

void MenuPicker::setItems(const QList<Item>& items, const QString& selected) {
    items_ = items;
    selected_ = selected;
    QString text;
    for (const Item& item : items_) {
        if (item.id == selected) {
            text = item.text;
        }
    }
    setText(text);
    setAccessibleDescription(text);
    update();
}

QSize MenuPicker::sizeHint() const {
    return {200, 28};
}

void MenuPicker::openMenu() {
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setMinimumWidth(width());
    QAction* active = nullptr;
    for (const Item& item : items_) {
        const bool isSelected = item.id == selected_;
        QAction* entry =
            menu->addAction(menuText(item.text, *menu, widestText), this, [this, id = item.id] {
                if (onChosen) {
                    onChosen(id);
                }
            });
        entry->setIcon(isSelected ? symbolIcon(QStringLiteral("checkmark"), *menu) : QIcon());
        active = isSelected ? entry : active;
    }
    menu->setActiveAction(active);
    menu->popup(mapToGlobal(QPoint(0, height() + 2)));
}

void MenuPicker::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor plate = HalvenorTheme::hoverTint();
    plate.setAlphaF(underMouse() ? 0.11F : 0.06F);
    painter.setPen(Qt::NoPen);
    painter.setBrush(plate);
    painter.drawRoundedRect(rect(), 7, 7);
    const auto place = [this](const QRect& where) {
        return QRectF(QStyle::visualRect(layoutDirection(), rect(), where));
    };
    drawElided(painter, place({12, 0, width() - 44, height()}),
               HalvenorTheme::font(12, QFont::Medium), HalvenorTheme::titleText(), text());
    Symbols::draw(painter, QStringLiteral("chevron.up.chevron.down"), 11,
                  place({width() - 28, 0, 20, height()}).center(), HalvenorTheme::secondaryText());
    paintFocusRing(painter, *this, 7);
}

void MenuPicker::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Down:
        case Qt::Key_Up:
            click();
            break;
        default:
            PaintedButton::keyPressEvent(event);
    }
}

}  // namespace halvenor
