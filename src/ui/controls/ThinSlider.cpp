#include "ui/controls/ThinSlider.h"

#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "ui/controls/FocusRing.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

ThinSlider::ThinSlider(const QString& accessibleName, QWidget* parent, const Metrics& metrics)
    : ValueControl(accessibleName, parent), metrics_(metrics) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setCursor(Qt::ArrowCursor);
}

ThinSliderGeometry ThinSlider::geometryNow() const {
    return {static_cast<double>(width()), lower(), upper(), metrics_.knobDiameter};
}

double ThinSlider::knobCentre() const {
    return geometryNow().filledWidth(value());
}

int ThinSlider::devicePixelAt(double value) const {
    return static_cast<int>(std::lround(geometryNow().filledWidth(value) * devicePixelRatioF()));
}

int ThinSlider::knobTravel(double value) const {
    return std::abs(devicePixelAt(value) - knobDevicePixel());
}

void ThinSlider::setRange(double lower, double upper) {
    if (lower == this->lower() && upper == this->upper()) {
        return;
    }
    holdRange(lower, upper);
    updateKnob();
}

void ThinSlider::setValue(double value) {
    holdValue(value);
    updateKnob();
}

void ThinSlider::updateKnob() {
    if (knobDevicePixel() == paintedDevicePixel_) {
        return;
    }
    const double reach = metrics_.knobDiameter / 2 + 2;
    const double centre = knobCentre();
    const int left = static_cast<int>(std::floor(std::min(paintedCentre_, centre) - reach));
    const int right = static_cast<int>(std::ceil(std::max(paintedCentre_, centre) + reach));
    update(left, 0, right - left, height());
}

void ThinSlider::setSurface(std::function<QColor()> surface) {
    surface_ = std::move(surface);
    update();
}

void ThinSlider::setSurround(Surround surround) {
    surround_ = surround;
    update();
}

void ThinSlider::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.fillRect(event->rect(), surface_());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);

    const double middle = height() / 2.0;
    const double bar = metrics_.barHeight;
    const double knob = metrics_.knobDiameter;
    const Tints tints = tintsOf(surround_);
    const double ratio = devicePixelRatioF();
    paintedDevicePixel_ = knobDevicePixel();
    paintedCentre_ = paintedDevicePixel_ / ratio;

    const bool isLit = isHovering_ || isDragging_;
    const QRectF track(0, middle - bar / 2, width(), bar);
    painter.setBrush(tints.track);
    painter.drawRoundedRect(track, bar / 2, bar / 2);
    painter.setBrush(isLit ? tints.accent : tints.neutral);
    painter.drawRoundedRect(QRectF(track.topLeft(), QSizeF(paintedCentre_, bar)), bar / 2, bar / 2);
    painter.setBrush(isLit ? tints.hover : tints.knob);
    painter.drawEllipse(QPointF(paintedCentre_, middle), knob / 2, knob / 2);
    paintFocusRing(painter, *this, 4);
}

void ThinSlider::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    update();
}

void ThinSlider::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    isDragging_ = true;
    update();
    wish(geometryNow().valueAt(event->position().x()));
}

void ThinSlider::mouseMoveEvent(QMouseEvent* event) {
    if (isDragging_) {
        wish(geometryNow().valueAt(event->position().x()));
    }
}

void ThinSlider::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        isDragging_ = false;
        update();
    }
}

void ThinSlider::enterEvent(QEnterEvent* event) {
    QWidget::enterEvent(event);
    isHovering_ = true;
    update();
}

void ThinSlider::leaveEvent(QEvent* event) {
    QWidget::leaveEvent(event);
    isHovering_ = false;
    update();
}

}  // namespace halvenor
