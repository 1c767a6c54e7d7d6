#include "ui/controls/TextLabel.h"

#include <QPainter>
#include <QStyle>

#include <utility>

namespace halvenor {

TextLabel::TextLabel(const QString& text, const QFont& font, std::function<QColor()> colour)
    : QLabel(text), colour_(std::move(colour)) {
    setFont(font);
    setTextFormat(Qt::PlainText);
}

void TextLabel::setColour(std::function<QColor()> colour) {
    colour_ = std::move(colour);
    update();
}

// A line that can be cut short takes no room that is not there.
QSize TextLabel::minimumSizeHint() const {
    return wordWrap() ? QLabel::minimumSizeHint() : QSize(0, QLabel::minimumSizeHint().height());
}

void TextLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(colour_());
    const int horizontal = static_cast<int>(
        QStyle::visualAlignment(layoutDirection(), alignment() & Qt::AlignHorizontal_Mask));
    if (wordWrap()) {
        painter.drawText(contentsRect(), horizontal | Qt::AlignTop | Qt::TextWordWrap, text());
        return;
    }
    const QString line = fontMetrics().elidedText(text(), elideMode_, contentsRect().width());
    painter.drawText(contentsRect(), horizontal | Qt::AlignVCenter | Qt::TextSingleLine, line);
}

}  // namespace halvenor
