#include "ui/mainwindow/ErrorSheet.h"

#include <QAccessible>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

#include "ui/controls/TextButton.h"
#include "ui/symbols/Symbols.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {
constexpr int widestCard = 380;
constexpr int padding = 24;
constexpr int symbolRoom = 44;
constexpr int titleRoom = 28;
constexpr int messageTop = padding + symbolRoom + titleRoom;
constexpr int buttonRoom = 52;
constexpr int wrapped = Qt::AlignHCenter | Qt::AlignTop | Qt::TextWrapAnywhere | Qt::TextWordWrap;

QString title() {
    return QStringLiteral("Playback Error");
}
}  // namespace

ErrorSheet::ErrorSheet(QWidget* parent)
    : QWidget(parent), confirm_(new TextButton(QStringLiteral("OK"), this)) {
    setFocusProxy(confirm_);
    confirm_->setFocusPolicy(Qt::StrongFocus);
    confirm_->setProminent(true);
    connect(confirm_, &QAbstractButton::clicked, this, [this] {
        dismiss();
        if (onDismissed) {
            onDismissed();
        }
    });
    hide();
}

void ErrorSheet::present(const QString& message) {
    message_ = message;
    setAccessibleName(title());
    setAccessibleDescription(message);
    layOut();
    show();
    raise();
    confirm_->setFocus(Qt::PopupFocusReason);
    update();
    QAccessibleEvent event(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

void ErrorSheet::dismiss() {
    hide();
    message_.clear();
}

QRect ErrorSheet::messageRect(int cardWidth) const {
    const QFontMetrics metrics(HalvenorTheme::font(12));
    return metrics.boundingRect(QRect(0, 0, cardWidth - 2 * padding, 10'000), wrapped, message_);
}

QRect ErrorSheet::cardRect() const {
    const int cardWidth = std::min(widestCard, width() - 2 * padding);
    const int text = std::min(messageRect(cardWidth).height(), height() / 2);
    const QSize size(cardWidth, messageTop + text + buttonRoom + padding);
    return {QPoint((width() - size.width()) / 2, (height() - size.height()) / 2 - height() / 16),
            size};
}

void ErrorSheet::layOut() {
    const QRect card = cardRect();
    const QSize button(card.width() - 2 * padding, 32);
    confirm_->setGeometry(
        QRect(QPoint(card.left() + padding, card.bottom() - padding - 30), button));
}

void ErrorSheet::resizeEvent(QResizeEvent*) {
    layOut();
}

void ErrorSheet::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), QColor(0, 0, 0, HalvenorTheme::isLight() ? 70 : 140));
    painter.setRenderHint(QPainter::Antialiasing);
    const QRect card = cardRect();
    painter.setPen(Qt::NoPen);
    for (int spread = 12; spread > 0; spread -= 3) {
        painter.setBrush(QColor(0, 0, 0, 12));
        painter.drawRoundedRect(QRectF(card).adjusted(-spread, 4 - spread, spread, 4 + spread),
                                12 + spread, 12 + spread);
    }
    painter.setPen(HalvenorTheme::hairline());
    painter.setBrush(
        HalvenorTheme::blend(QColor(255, 255, 255, HalvenorTheme::isLight() ? 190 : 12),
                             HalvenorTheme::windowBackdrop()));
    painter.drawRoundedRect(QRectF(card).adjusted(0.5, 0.5, -0.5, -0.5), 12, 12);

    const int middle = card.center().x();
    Symbols::draw(painter, QStringLiteral("exclamationmark.triangle"), 22,
                  QPointF(middle, card.top() + padding + 14), HalvenorTheme::accent());
    const QRect inner = card.adjusted(padding, 0, -padding, 0);
    painter.setFont(HalvenorTheme::font(14, QFont::Bold));
    painter.setPen(HalvenorTheme::highlightText());
    painter.drawText(QRect(inner.left(), card.top() + padding + symbolRoom - 6, inner.width(), 20),
                     Qt::AlignCenter, title());
    painter.setFont(HalvenorTheme::font(12));
    painter.setPen(HalvenorTheme::secondaryText());
    painter.drawText(QRect(inner.left(), card.top() + messageTop, inner.width(), height() / 2),
                     wrapped, message_);
}

void ErrorSheet::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        confirm_->click();
    }
}

// What lies beneath can't be reached through the sheet.
void ErrorSheet::mousePressEvent(QMouseEvent*) {}

bool ErrorSheet::focusNextPrevChild(bool) {
    confirm_->setFocus(Qt::TabFocusReason);
    return true;
}

}  // namespace halvenor
