#include "ui/waveform/LiquidTitanWaveform.h"

#include <QLinearGradient>
#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace halvenor {

namespace {

struct Stop {
    float location, red, green, blue;
};

// The sudden dark step in the middle reads as the bright edge of polished metal.
constexpr std::array<Stop, 7> silver = {{{0, 0.28F, 0.32F, 0.37F},
                                         {0.22F, 0.52F, 0.57F, 0.62F},
                                         {0.43F, 0.83F, 0.87F, 0.90F},
                                         {0.52F, 0.37F, 0.42F, 0.48F},
                                         {0.70F, 0.49F, 0.55F, 0.60F},
                                         {0.88F, 0.65F, 0.70F, 0.74F},
                                         {1, 0.30F, 0.35F, 0.40F}}};
constexpr std::array<Stop, 7> graphite = {{{0, 0.08F, 0.10F, 0.12F},
                                           {0.22F, 0.15F, 0.18F, 0.21F},
                                           {0.43F, 0.27F, 0.30F, 0.33F},
                                           {0.52F, 0.11F, 0.13F, 0.16F},
                                           {0.70F, 0.16F, 0.19F, 0.22F},
                                           {0.88F, 0.21F, 0.24F, 0.27F},
                                           {1, 0.09F, 0.11F, 0.14F}}};

constexpr float silverSheen = 0.36F;
constexpr float graphiteSheen = 0.1F;
constexpr float silverRim = 0.36F;
constexpr float graphiteRim = 0.12F;
constexpr double rimWidth = 0.8;
constexpr double period = 12;  // seconds

QLinearGradient metal(bool played, double height) {
    QLinearGradient gradient(0, 0, 0, height);
    for (const Stop& stop : played ? silver : graphite) {
        gradient.setColorAt(static_cast<double>(stop.location),
                            QColor::fromRgbF(stop.red, stop.green, stop.blue));
    }
    return gradient;
}

QColor sheenColour(float opacity) {
    return QColor::fromRgbF(0.86F, 0.92F, 0.98F, opacity);
}

QLinearGradient sheen(double center, double band, float strength) {
    QLinearGradient gradient(center - band, 0, center + band, 0);
    gradient.setColorAt(0, sheenColour(0));
    gradient.setColorAt(0.28, sheenColour(strength * 0.25F));
    gradient.setColorAt(0.5, sheenColour(strength));
    gradient.setColorAt(0.72, sheenColour(strength * 0.25F));
    gradient.setColorAt(1, sheenColour(0));
    return gradient;
}

}  // namespace

double LiquidTitanWaveform::band() const {
    return std::max(size_.width() * 0.34, 36.0);
}

double LiquidTitanWaveform::center(double elapsed) const {
    return size_.width() * (std::sin(2 * std::numbers::pi * elapsed / period - 0.8) * 0.42 + 0.5);
}

QRectF LiquidTitanWaveform::sheenRect(double elapsed) const {
    return QRectF(center(elapsed) - band(), 0, 2 * band(), size_.height())
        .intersected(QRectF(QPointF(), size_));
}

void LiquidTitanWaveform::setShape(const QPainterPath& envelope, const QSizeF& size,
                                   double devicePixelRatio) {
    size_ = size;
    devicePixelRatio_ = devicePixelRatio;
    silver_ = makeLayer(envelope, true);
    graphite_ = makeLayer(envelope, false);
}

LiquidTitanWaveform::Layer LiquidTitanWaveform::makeLayer(const QPainterPath& envelope,
                                                          bool played) const {
    const QSize pixels = (size_ * devicePixelRatio_).toSize().expandedTo(QSize(1, 1));
    const auto draw = [&](const auto& job) {
        QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
        image.setDevicePixelRatio(devicePixelRatio_);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        job(painter);
        return image;
    };
    Layer layer;
    layer.metal =
        draw([&](QPainter& painter) { painter.fillPath(envelope, metal(played, size_.height())); });
    // Half of the line lies outside and is cut away: a rim that fades out towards the bottom.
    layer.rim = draw([&](QPainter& painter) {
        QLinearGradient light(0, 0, 0, size_.height() * 0.65);
        light.setColorAt(0, QColor::fromRgbF(1, 1, 1, played ? silverRim : graphiteRim));
        light.setColorAt(1, QColor::fromRgbF(1, 1, 1, 0));
        painter.setClipPath(envelope);
        painter.strokePath(envelope, QPen(QBrush(light), rimWidth));
    });
    return layer;
}

void LiquidTitanWaveform::paint(QPainter& painter, const QRectF& clip, double elapsed,
                                bool played) const {
    const Layer& layer = played ? silver_ : graphite_;
    if (layer.metal.isNull()) {
        return;
    }
    const auto inPixels = [&](const QRectF& part) {
        return QRectF(part.topLeft() * devicePixelRatio_, part.size() * devicePixelRatio_)
            .toAlignedRect()
            .intersected(layer.metal.rect());
    };
    const QRect area = inPixels(clip);
    if (area.isEmpty()) {
        return;
    }
    // The copy's covered pixels alone take the sheen, which so ends at the envelope.
    QImage frame = layer.metal.copy(area);
    const QRectF lit = sheenRect(elapsed);
    QPainter brush(&frame);
    brush.setCompositionMode(QPainter::CompositionMode_SourceAtop);
    brush.translate(-QPointF(area.topLeft()) / devicePixelRatio_);
    brush.fillRect(lit, sheen(center(elapsed), band(), played ? silverSheen : graphiteSheen));
    brush.end();
    const QRectF target(QPointF(area.topLeft()) / devicePixelRatio_,
                        QSizeF(area.size()) / devicePixelRatio_);
    painter.drawImage(target, frame);
    painter.drawImage(target, layer.rim, area);
}

}  // namespace halvenor
