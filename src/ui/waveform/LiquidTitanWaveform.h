#pragma once

#include <QImage>
#include <QPainterPath>
#include <QSizeF>

class QPainter;

namespace halvenor {

/// The liquid-metal finish of a waveform: bands of brushed metal across the shape, a soft sheen
/// that swings to and fro along it in twelve seconds, and a thin light on its upper rim.
///
/// Metal and rim stand still, so they are drawn once for a shape; a frame is a copy of them with
/// the sheen between. Where the sheen does not reach, frames are equal. Main thread.
class LiquidTitanWaveform {
  public:
    /// @param envelope in device-independent pixels
    void setShape(const QPainterPath& envelope, const QSizeF& size, double devicePixelRatio);

    /// Draws the part of one layer that lies in `clip`.
    /// @param elapsed seconds of the animation
    /// @param played the silver layer, else the graphite one
    void paint(QPainter& painter, const QRectF& clip, double elapsed, bool played) const;

    /// What a frame at `elapsed` shows otherwise than metal and rim, from side to side.
    QRectF sheenRect(double elapsed) const;

  private:
    struct Layer {
        QImage metal;
        QImage rim;
    };
    Layer makeLayer(const QPainterPath& envelope, bool played) const;
    double band() const;
    double center(double elapsed) const;

    QSizeF size_;
    double devicePixelRatio_ = 1;
    Layer silver_;
    Layer graphite_;
};

}  // namespace halvenor
