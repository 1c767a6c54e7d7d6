#pragma once

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QString>

class QPainter;

namespace halvenor {

/// The height that drawWrapped takes for `text`, in whole pixels; 0 for an empty one.
int wrappedHeight(const QString& text, const QFont& font, double width);

/// Draws a text in centred lines, from the top of `area` and no further than its bottom. Lines
/// break between words, and within one that is longer than a line, such as a path.
void drawWrapped(QPainter& painter, const QRectF& area, const QFont& font, const QColor& colour,
                 const QString& text);

}  // namespace halvenor
