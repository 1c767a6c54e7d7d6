#include "ui/controls/ThinSlider.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "ui/controls/FocusRing.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {

class AccessibleThinSlider : public QAccessibleWidget, public QAccessibleValueInterface {
  public:
    explicit AccessibleThinSlider(ThinSlider* slider)
        : QAccessibleWidget(slider, QAccessible::Slider) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ValueInterface) {
            return static_cast<QAccessibleValueInterface*>(this);
        }
        return QAccessibleWidget::interface_cast(type);
    }
    QString text(QAccessible::Text kind) const override {
        if (kind == QAccessible::Value && slider()->describeValue) {
            return slider()->describeValue(slider()->value());
        }
        return QAccessibleWidget::text(kind);
    }
    QVariant currentValue() const override { return slider()->value(); }
    void setCurrentValue(const QVariant& value) override { slider()->wish(value.toDouble()); }
    QVariant maximumValue() const override { return slider()->upper(); }
    QVariant minimumValue() const override { return slider()->lower(); }
    QVariant minimumStepSize() const override { return 0.0; }

  private:
    ThinSlider* slider() const { return static_cast<ThinSlider*>(widget()); }
};

QAccessibleInterface* makeAccessible(const QString&, QObject* object) {
    auto* slider = dynamic_cast<ThinSlider*>(object);
    return slider != nullptr ? new AccessibleThinSlider(slider) : nullptr;
}

}  // namespace

ThinSlider::ThinSlider(const QString& accessibleName, QWidget* parent, const Metrics& metrics)
    : QWidget(parent), metrics_(metrics) {
    [[maybe_unused]] static const bool isInstalled =
        (QAccessible::installFactory(&makeAccessible), true);
    setAccessibleName(accessibleName);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::TabFocus);
    setCursor(Qt::ArrowCursor);
}

ThinSliderGeometry ThinSlider::geometryNow() const {
    return {static_cast<double>(width()), lower_, upper_, metrics_.knobDiameter};
}

double ThinSlider::knobCentre() const {
    return geometryNow().filledWidth(value_);
}

int ThinSlider::devicePixelAt(double value) const {
    return static_cast<int>(std::lround(geometryNow().filledWidth(value) * devicePixelRatioF()));
}

int ThinSlider::knobTravel(double value) const {
    return std::abs(devicePixelAt(value) - knobDevicePixel());
}

void ThinSlider::setRange(double lower, double upper) {
    if (lower == lower_ && upper == upper_) {
        return;
    }
    lower_ = lower;
    upper_ = upper;
    updateKnob();
}

void ThinSlider::setValue(double value) {
    value_ = value;
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

void ThinSlider::wish(double value) {
    if (onValueWished) {
        onValueWished(std::clamp(value, lower_, std::max(lower_, upper_)));
    }
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

void ThinSlider::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Left:
        case Qt::Key_Down:
            wish(value_ - step_);
            break;
        case Qt::Key_Right:
        case Qt::Key_Up:
            wish(value_ + step_);
            break;
        case Qt::Key_Home:
            wish(lower_);
            break;
        case Qt::Key_End:
            wish(upper_);
            break;
        default:
            event->ignore();
            return;
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
