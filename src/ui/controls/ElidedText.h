#pragma once

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QString>

class QPainter;

namespace halvenor {

/// The flags with which a painter draws `text`: it stands at the side where the painter's reading
/// direction begins, and is itself read in its own direction, so that a name in Latin letters keeps
/// its full stop at its end in a mirrored window.
/// @param alignment horizontal; Qt::AlignLeft is where reading begins
int textFlags(const QPainter& painter, const QString& text, Qt::Alignment alignment);

/// Draws one line of text, cut short with an ellipsis where it does not fit, in the middle of the
/// height of `area`. Line ends in the text become blanks.
/// @param alignment horizontal; Qt::AlignLeft follows the reading direction of the text's owner
void drawElided(QPainter& painter, const QRectF& area, const QFont& font, const QColor& colour,
                const QString& text, Qt::Alignment alignment = Qt::AlignLeft);

}  // namespace halvenor
