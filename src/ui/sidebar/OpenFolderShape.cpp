#include "ui/sidebar/OpenFolderShape.h"

#include <QTransform>

namespace halvenor {

// Drawn in a rectangle of 18 by 14 and stretched to the one that is asked for.
QPainterPath openFolderShape(const QRectF& rect) {
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);  // Both pieces at once, filled, are the silhouette.
    // The back panel: up its left side, over the tab, down the right side as far as the flap.
    path.moveTo(1.2, 12.2);
    path.lineTo(1.2, 2.2);
    path.quadTo(1.2, 0.8, 2.6, 0.8);
    path.lineTo(5.6, 0.8);
    path.quadTo(6.4, 0.8, 6.9, 1.4);
    path.lineTo(7.7, 2.3);
    path.quadTo(8.0, 2.6, 8.5, 2.6);
    path.lineTo(13.4, 2.6);
    path.quadTo(14.8, 2.6, 14.8, 4.0);
    path.lineTo(14.8, 5.6);
    // The flap: along its top, down its sheared end, and back along the bottom.
    path.lineTo(16.2, 5.6);
    path.quadTo(17.5, 5.6, 17.1, 6.8);
    path.lineTo(15.3, 12.1);
    path.quadTo(14.9, 13.2, 13.7, 13.2);
    path.lineTo(2.2, 13.2);
    path.quadTo(1.2, 13.2, 1.2, 12.2);
    path.closeSubpath();
    // The flap's near edge.
    path.moveTo(1.5, 12.6);
    path.lineTo(3.6, 6.6);
    path.quadTo(4.0, 5.6, 5.0, 5.6);
    path.lineTo(14.8, 5.6);
    const QTransform fit(rect.width() / 18, 0, 0, rect.height() / 14, rect.x(), rect.y());
    return fit.map(path);
}

}  // namespace halvenor
