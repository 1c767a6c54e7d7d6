#include "ui/settings/LinkRow.h"

#include <QPainter>
#include <QStyle>

#include "ui/controls/ElidedText.h"
#include "ui/controls/FocusRing.h"
#include "ui/symbols/Symbols.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

LinkRow::LinkRow(const QString& symbol, const QString& title, const QString& note)
    : symbol_(symbol), note_(note) {
    setText(title);
    setAccessibleName(title);
    setAccessibleDescription(note);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize LinkRow::sizeHint() const {
    return {320, note_.isEmpty() ? 44 : 60};
}

void LinkRow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QColor plate = HalvenorTheme::hoverTint();
    plate.setAlphaF(isDown() ? 0.1F : underMouse() ? 0.08F : 0.045F);
    painter.setBrush(plate);
    painter.drawRoundedRect(rect(), 8, 8);
    const double middle = height() / 2.0;
    const auto place = [this](const QRectF& where) {
        return QRectF(QStyle::visualRect(layoutDirection(), rect(), where.toRect()));
    };
    Symbols::draw(painter, symbol_, 17, place(QRectF(12, middle - 12, 24, 24)).center(),
                  HalvenorTheme::accent());
    Symbols::draw(painter, QStringLiteral("arrow.up.right"), 10,
                  place(QRectF(width() - 32, middle - 10, 20, 20)).center(),
                  HalvenorTheme::secondaryText());
    const double left = 50;
    const double wide = width() - left - 44;
    const double titleTop = note_.isEmpty() ? middle - 10 : middle - 19;
    drawElided(painter, place(QRectF(left, titleTop, wide, 20)),
               HalvenorTheme::font(12, QFont::Medium), HalvenorTheme::highlightText(), text());
    if (!note_.isEmpty()) {
        drawElided(painter, place(QRectF(left, middle, wide, 18)), HalvenorTheme::font(11),
                   HalvenorTheme::secondaryText(), note_);
    }
    paintFocusRing(painter, *this, 8);
}

}  // namespace halvenor
