#include "ui/tageditor/TextLine.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace halvenor {

namespace {

// The lines of `text` at this width, no more than `most`, the last one elided if it must be.
QStringList brokenLines(const QString& text, const QFont& font, double width, int most) {
    QTextLayout layout(text, font);
    QStringList lines;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        const bool isLast = lines.size() + 1 == most;
        const QString rest = text.mid(line.textStart());
        lines.append(isLast ? QFontMetricsF(font).elidedText(rest, Qt::ElideRight, width)
                            : rest.left(line.textLength()).trimmed());
        if (isLast) {
            break;
        }
    }
    layout.endLayout();
    return lines;
}

}  // namespace

TextLine::TextLine(const QFont& font, Colour colour, QWidget* parent)
    : QLabel(parent), colour_(colour) {
    setFont(font);
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    setLines(1);
}

void TextLine::setColour(Colour colour) {
    colour_ = colour;
    update();
}

void TextLine::setLines(int count) {
    setFixedHeight(static_cast<int>(std::ceil(QFontMetricsF(font()).height() * count)));
}

void TextLine::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setFont(font());
    painter.setPen(colour_());
    const double lineHeight = QFontMetricsF(font()).height();
    const int most = std::max(static_cast<int>(height() / lineHeight + 0.01), 1);
    QString oneParagraph = text();
    oneParagraph.replace(QLatin1Char('\n'), QLatin1Char(' '));
    const QStringList lines = brokenLines(oneParagraph, font(), width(), most);
    double top = (height() - lineHeight * static_cast<double>(lines.size())) / 2;
    const int leading =
        layoutDirection() == Qt::RightToLeft ? int{Qt::AlignRight} : int{Qt::AlignLeft};
    const Qt::Alignment across = alignment() & Qt::AlignHCenter;
    const int flags = (across != 0 ? static_cast<int>(across) : leading | Qt::AlignAbsolute) |
                      Qt::AlignVCenter | Qt::TextSingleLine;
    for (const QString& line : lines) {
        painter.drawText(QRectF(0, top, width(), lineHeight), flags, line);
        top += lineHeight;
    }
}

}  // namespace halvenor
