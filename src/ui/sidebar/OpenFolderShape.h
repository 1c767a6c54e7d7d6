#pragma once

#include <QPainterPath>
#include <QRectF>

namespace halvenor {

/// The outline of an open folder in `rect`: a back panel with a tab, and a front flap sheared to
/// the right, joined by short curves at the corners.
QPainterPath openFolderShape(const QRectF& rect);

}  // namespace halvenor
