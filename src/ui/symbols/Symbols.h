#pragma once

#include <QColor>
#include <QPixmap>
#include <QPointF>
#include <QString>

class QPainter;

namespace halvenor {

/// The program's own symbols: line drawings on one grid of 24 by 24 with one weight of line, kept
/// as SVG resources under their names ("play.circle.fill").
///
/// A symbol is rendered once for each (name, side, device pixel ratio, colour) at the size of its
/// device pixels, and kept. Main thread.
class Symbols {
  public:
    Symbols() = delete;

    /// The side of a symbol's grid, in device-independent pixels, beside text of `size`.
    static double side(double size);

    /// `name` in `colour`, a square of `side` device-independent pixels. An unknown name is empty.
    static QPixmap pixmap(const QString& name, double side, double devicePixelRatio,
                          const QColor& colour);

    /// Draws `name` with its middle at `centre`, its corner held to whole device pixels.
    static void draw(QPainter& painter, const QString& name, double size, const QPointF& centre,
                     const QColor& colour);

    /// The program's icon at the sizes that desktops ask for.
    static QPixmap applicationIcon(int side);
};

}  // namespace halvenor
