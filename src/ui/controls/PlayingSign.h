#pragma once

#include <QPointF>

class QPainter;

namespace halvenor {

/// Three bars that mark what plays; low while it is paused. They stand still: a moving sign would
/// cost more than playing does.
void paintPlayingSign(QPainter& painter, const QPointF& centre, bool isPlaying);

}  // namespace halvenor
