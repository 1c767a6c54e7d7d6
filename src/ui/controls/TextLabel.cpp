#include "ui/controls/TextLabel.h"

#include <QPainter>
#include <QTextLayout>

#include <utility>

#include "ui/controls/ElidedText.h"

namespace halvenor {

namespace {

// No more than `most` lines, the last one cut short if it must be.
QStringList brokenLines(const QString& text, const QFont& font, int width, int most) {
    QTextLayout layout(text, font);
    QStringList lines;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid() && lines.size() < most;
         line = layout.createLine()) {
        line.setLineWidth(width);
        const QString rest = text.mid(line.textStart());
        lines.append(lines.size() + 1 == most
                         ? QFontMetrics(font).elidedText(rest, Qt::ElideRight, width)
                         : rest.left(line.textLength()).trimmed());
    }
    layout.endLayout();
    return lines;
}

}  // namespace

TextLabel::TextLabel(const QString& text, const QFont& font, std::function<QColor()> colour)
    : QLabel(text), colour_(std::move(colour)) {
    setFont(font);
    setTextFormat(Qt::PlainText);
}

void TextLabel::setColour(std::function<QColor()> colour) {
    colour_ = std::move(colour);
    update();
}

void TextLabel::setLines(int count) {
    lines_ = count;
    setFixedHeight(fontMetrics().height() * count);
}

// A line that can be cut short takes no room that is not there.
QSize TextLabel::minimumSizeHint() const {
    return wordWrap() ? QLabel::minimumSizeHint() : QSize(0, QLabel::minimumSizeHint().height());
}

void TextLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(colour_());
    const int horizontal = textFlags(painter, text(), alignment() & Qt::AlignHorizontal_Mask);
    if (lines_ > 0) {
        paintLines(painter, horizontal);
        return;
    }
    if (wordWrap()) {
        painter.drawText(contentsRect(), horizontal | Qt::AlignTop | Qt::TextWordWrap, text());
        return;
    }
    const QString line = fontMetrics().elidedText(text(), elideMode_, contentsRect().width());
    painter.drawText(contentsRect(), horizontal | Qt::AlignVCenter | Qt::TextSingleLine, line);
}

void TextLabel::paintLines(QPainter& painter, int horizontal) const {
    QString paragraph = text();
    paragraph.replace(QLatin1Char('\n'), QLatin1Char(' '));
    const QStringList lines = brokenLines(paragraph, font(), width(), lines_);
    const int lineHeight = fontMetrics().height();
    int top = (height() - lineHeight * static_cast<int>(lines.size())) / 2;
    for (const QString& line : lines) {
        painter.drawText(QRect(0, top, width(), lineHeight),
                         horizontal | Qt::AlignVCenter | Qt::TextSingleLine, line);
        top += lineHeight;
    }
}

}  // namespace halvenor
