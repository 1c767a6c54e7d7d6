#pragma once

#include <QList>
#include <QPainterPath>

namespace halvenor {

/// The waveform's outline: the peaks above the middle of the area, mirrored below it, joined by
/// straight lines, closed. It leaves 5 per cent of head room and is nowhere thinner than 4 pixels.
/// Fewer than two peaks have none. Pure.
/// @param peaks 0...1 each
/// @param width,height of the area, in device-independent pixels
QPainterPath envelopePath(const QList<float>& peaks, double width, double height);

}  // namespace halvenor
