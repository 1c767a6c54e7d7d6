#pragma once

#include <QPainter>
#include <QWidget>

namespace halvenor {

/// Whether `widget` has the focus and it came by the keyboard: a click shows no ring.
bool hasKeyboardFocus(const QWidget& widget);

/// A ring just inside `widget` while it has the keyboard focus.
void paintFocusRing(QPainter& painter, const QWidget& widget, double radius);
/// The same around `rect`, whatever has the focus.
void paintRing(QPainter& painter, const QRectF& rect, double radius);

}  // namespace halvenor
