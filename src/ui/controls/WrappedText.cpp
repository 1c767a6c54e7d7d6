#include "ui/controls/WrappedText.h"

#include <QPainter>
#include <QTextLayout>

#include <cmath>

namespace halvenor {

namespace {

// @return the height of all lines
double breakLines(QTextLayout& layout, double width) {
    QTextOption option(Qt::AlignHCenter);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    double height = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition({0, height});
        height += line.height();
    }
    layout.endLayout();
    return height;
}

QString withLineSeparators(QString text) {
    return text.replace(QLatin1Char('\n'), QChar::LineSeparator);
}

}  // namespace

int wrappedHeight(const QString& text, const QFont& font, double width) {
    if (text.isEmpty()) {
        return 0;
    }
    QTextLayout layout(withLineSeparators(text), font);
    return static_cast<int>(std::ceil(breakLines(layout, width)));
}

void drawWrapped(QPainter& painter, const QRectF& area, const QFont& font, const QColor& colour,
                 const QString& text) {
    QTextLayout layout(withLineSeparators(text), font, painter.device());
    breakLines(layout, area.width());
    painter.save();
    painter.setClipRect(area, Qt::IntersectClip);
    painter.setPen(colour);
    layout.draw(&painter, area.topLeft());
    painter.restore();
}

}  // namespace halvenor
